#include "velmar/unknown.h"

#include <gtest/gtest.h>

#include "velmar/text.h"
#include "velmar/variant.h"

namespace velmar {
namespace {

struct IAnimal : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{11111111-0000-0000-0000-000000000001}");
  virtual KivResult Name(std::u16string* out) = 0;
};
struct IAnimal2 : IAnimal {
  static constexpr Guid iid = Guid::Literal("{11111111-0000-0000-0000-000000000002}");
  using Parent = IAnimal;
  virtual KivResult Legs(int* out) = 0;
};
struct IPet : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{11111111-0000-0000-0000-0000000000FF}");
  virtual KivResult Owner(std::u16string* out) = 0;
};

int g_live = 0;

class Dog : public KivObject<IAnimal2, IPet> {
 public:
  Dog() { ++g_live; }
  ~Dog() override { --g_live; }
  KivResult Name(std::u16string* out) override { *out = u"Rex"; return S_OK; }
  KivResult Legs(int* out) override { *out = 4; return S_OK; }
  KivResult Owner(std::u16string* out) override { *out = u"Ann"; return S_OK; }
};

TEST(Unknown, EveryGenerationAnswersWithOneIdentity) {
  {
    auto dog = MakeKiv<Dog>();
    auto a1 = dog.As<IAnimal>();
    auto a2 = dog.As<IAnimal2>();
    auto pet = dog.As<IPet>();
    ASSERT_TRUE(a1 && a2 && pet);
    EXPECT_EQ(static_cast<IAnimal*>(a2.Get()), a1.Get());
    auto u1 = a1.As<IKivUnknown>();
    auto u2 = pet.As<IKivUnknown>();
    EXPECT_EQ(u1.Get(), u2.Get()) << "identity must not depend on the interface asked from";
    std::u16string owner;
    EXPECT_EQ(pet->Owner(&owner), S_OK);
    EXPECT_EQ(owner, u"Ann");
  }
  EXPECT_EQ(g_live, 0) << "last release destroys";
}

TEST(Unknown, UnknownInterfaceNullOutAndGiveOut) {
  auto dog = MakeKiv<Dog>();
  void* p = reinterpret_cast<void*>(1);
  EXPECT_EQ(dog->QueryInterface(Guid::Literal("{22222222-0000-0000-0000-000000000000}"), &p),
            E_NOINTERFACE);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(dog->QueryInterface(IAnimal::iid, nullptr), E_POINTER);
  // GiveOut hands a new reference.
  IAnimal* raw = nullptr;
  EXPECT_EQ(GiveOut<IAnimal>(dog.Get(), &raw), S_OK);
  EXPECT_EQ(raw->Release(), 1u);
  EXPECT_EQ((GiveOut<IAnimal, Dog>(dog.Get(), nullptr)), E_POINTER);
}

TEST(Guid, ParseFormatRoundTrip) {
  constexpr Guid g = Guid::Literal("{60C1F36B-48BF-4D6C-B340-D445116F4B1F}");
  EXPECT_EQ(g.ToString(), "{60C1F36B-48BF-4D6C-B340-D445116F4B1F}");
  EXPECT_EQ(Guid::Parse("60c1f36b-48bf-4d6c-b340-d445116f4b1f"), g);
  EXPECT_EQ(Guid::Parse(std::u16string_view(u"{60C1F36B-48BF-4D6C-B340-D445116F4B1F}")), g);
  EXPECT_FALSE(Guid::Parse("{60C1F36B-48BF-4D6C-B340-D445116F4B1}"));
  EXPECT_FALSE(Guid::Parse("{60C1F36B+48BF-4D6C-B340-D445116F4B1F}"));
  EXPECT_FALSE(Guid::Parse("{60C1F36B-48BF-4D6C-B340-D445116F4B1G}"));
  EXPECT_NE(Guid::New(), Guid::New());
}

TEST(Text, Utf8AndAnsiConversions) {
  EXPECT_EQ(WideToUtf8(Utf8ToWide("Zeit [s] \xC2\xB0" "C \xF0\x9F\x8F\x81")), "Zeit [s] \xC2\xB0" "C \xF0\x9F\x8F\x81");
  EXPECT_EQ(Utf8ToWide("\xC0\xAF"), std::u16string(u"\uFFFD\uFFFD")) << "overlong form is refused";
  EXPECT_EQ(Utf8ToWide("\xE2\x82"), std::u16string(u"\uFFFD\uFFFD")) << "truncated sequence";
  EXPECT_EQ(AnsiToWide("\x80\xB0"), std::u16string(u"\u20AC\u00B0"));
  EXPECT_EQ(WideToAnsi(u"\u20AC\u00B0\u4E2D"), "\x80\xB0?");
  EXPECT_TRUE(EqualsNoCase(u"Software\\Halvane", u"SOFTWARE\\halvane"));
  EXPECT_LT(CompareNoCase(u"abc", u"ABCD"), 0);
}

TEST(Variant, KindsAndConversions) {
  EXPECT_TRUE(Variant().empty());
  EXPECT_EQ(Variant::I32(-3).ToDouble(), -3.0);
  EXPECT_EQ(Variant::Bool(true).AsBool(), true);
  EXPECT_FALSE(Variant::U32(1).AsI32());
  EXPECT_EQ(Variant::Text(u"x").ToText(), u"x");
  EXPECT_EQ(Variant::Array({Variant::I32(1), Variant::F64(2.5)}).ToText(), u"1, 2.5");
  EXPECT_EQ(Variant::Time(5), Variant::Time(5));
  EXPECT_FALSE(Variant::Time(5) == Variant::I32(5));
}

}  // namespace
}  // namespace velmar
