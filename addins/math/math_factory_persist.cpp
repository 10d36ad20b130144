// The math factory's definitions in the settings file.
#include <string>

#include "math_factory.h"
#include "velmar/text.h"

namespace velmar::math {
namespace {

constexpr char16_t kDefinitionsStream[] = u"Definitions";
constexpr uint32_t kReadMode = STGM_READ | STGM_SHARE_EXCLUSIVE;
constexpr uint32_t kWriteMode = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

KivResult ReadAll(IKivStream* stream, std::string* text) {
  char buffer[4096];
  for (;;) {
    uint32_t read = 0;
    if (KivResult r = stream->Read(buffer, sizeof buffer, &read); Failed(r)) return r;
    if (read == 0) return S_OK;
    text->append(buffer, read);
  }
}

}  // namespace

KivResult CMathChannelFactory::GetClassId(Guid* clsid) {
  if (!clsid) return E_POINTER;
  *clsid = CLSID_KivMathChannels;
  return S_OK;
}

KivResult CMathChannelFactory::InitNewStorage(IKivStorage* storage) {
  storage_ = storage;
  dirty_ = true;
  return S_OK;
}

KivResult CMathChannelFactory::LoadStorage(IKivStorage* storage) {
  ComPtr<IKivStream> stream;
  std::string text;
  if (Succeeded(storage->OpenStream(kDefinitionsStream, kReadMode, stream.Put()))) {
    if (KivResult r = ReadAll(stream.Get(), &text); Failed(r)) return r;
    // A text that is no list of definitions offers nothing, but stays as it
    // was stored: the settings file still loads.
    if (Failed(SetDefinitions(Utf8ToWide(text)))) definitions_->text = Utf8ToWide(text);
  }
  storage_ = storage;
  dirty_ = false;
  return S_OK;
}

KivResult CMathChannelFactory::Save(IKivStorage* storage, KivBool sameAsLoad) {
  // The storage given, else (the same as loaded) the one held.
  IKivStorage* target = storage ? storage : FromKivBool(sameAsLoad) ? storage_.Get() : nullptr;
  if (!target) return E_POINTER;
  ComPtr<IKivStream> stream;
  const std::string text = WideToUtf8(definitions_->text);
  uint32_t written = 0;
  if (KivResult r = target->CreateStream(kDefinitionsStream, kWriteMode, stream.Put()); Failed(r)) return r;
  if (KivResult r = stream->Write(text.data(), static_cast<uint32_t>(text.size()), &written); Failed(r)) return r;
  if (written != text.size()) return STG_E_WRITEFAULT;
  if (FromKivBool(sameAsLoad)) dirty_ = false;
  return S_OK;
}

KivResult CMathChannelFactory::SaveCompleted(IKivStorage* storage) {
  if (storage) storage_ = storage;
  dirty_ = false;
  return S_OK;
}

KivResult CMathChannelFactory::HandsOffStorage() {
  storage_ = nullptr;
  return S_OK;
}

}  // namespace velmar::math
