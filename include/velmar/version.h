#pragma once
namespace velmar {
inline constexpr const char* kVersion = "0.1.0";
}
