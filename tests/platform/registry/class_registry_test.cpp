#include "velmar/class_registry.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include <thread>

#include "sample_class.h"

namespace velmar {
namespace {

using testing::CSample;
using testing::IKivSample;
using testing::kAddInClass;
using testing::kOtherCategory;
using testing::kSampleCategory;
using testing::kSampleOne;
using testing::kSampleTwo;

constexpr Guid kUnknownClass = Guid::Literal("{00000000-1111-2222-3333-444444444444}");

int32_t ValueOf(const ComPtr<IKivSample>& s) {
  int32_t v = 0;
  EXPECT_EQ(s->GetValue(&v), S_OK);
  return v;
}

class ClassRegistryTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(registry_.RegisterAddIn(&testing::ListSampleClasses), S_OK); }
  ClassRegistry registry_;
};

TEST_F(ClassRegistryTest, CreatesByClassAndByProgramIdAndFailsWithThePlatformsCodes) {
  ComPtr<IKivSample> s;
  ASSERT_EQ(registry_.CreateInstance(kSampleOne, &s), S_OK);
  EXPECT_EQ(ValueOf(s), 1);

  Guid clsid;
  ASSERT_EQ(registry_.ProgIdToClsid(u"KivTest.SampleTwo.1", &clsid), S_OK);
  EXPECT_EQ(clsid, kSampleTwo);
  ASSERT_EQ(registry_.ProgIdToClsid(u"kivtest.sampletwo", &clsid), S_OK);  // version-independent
  EXPECT_EQ(clsid, kSampleTwo);
  EXPECT_EQ(registry_.ProgIdToClsid(u"KivTest.SampleTwo.2", &clsid), CO_E_CLASSSTRING);
  EXPECT_EQ(registry_.ProgIdToClsid(u"", &clsid), CO_E_CLASSSTRING);

  std::u16string text;
  EXPECT_EQ(registry_.ClsidToProgId(kSampleOne, &text), S_OK);
  EXPECT_EQ(text, u"KivTest.SampleOne.1");
  EXPECT_EQ(registry_.GetUserTypeName(kSampleOne, &text), S_OK);
  EXPECT_EQ(text, u"Kivara Sample One");
  // Failures use the platform's codes.
  EXPECT_EQ(registry_.CreateInstance(kUnknownClass, &s), REGDB_E_CLASSNOTREG);
  void* raw = reinterpret_cast<void*>(1);
  EXPECT_EQ(registry_.CreateInstance(kSampleOne, Guid::Literal("{5A5A5A5A-0000-0000-0000-000000000000}"),
                                     &raw),
            E_NOINTERFACE);
  EXPECT_EQ(raw, nullptr);
  EXPECT_EQ(registry_.CreateInstance(kSampleOne, IKivSample::iid, nullptr), E_POINTER);

  // Known only through a category entry: not creatable here.
  const Guid cats[] = {kOtherCategory};
  ASSERT_EQ(registry_.RegisterCategories(kUnknownClass, cats), S_OK);
  EXPECT_EQ(registry_.CreateInstance(kUnknownClass, &s), CLASS_E_CLASSNOTAVAILABLE);

  // A creation function's own failure comes back as it is.
  ClassRegistry::ClassInfo failing{kAddInClass, u"KivTest.Failing.1", {},
                                   [](IKivUnknown**) { return E_OUTOFMEMORY; }, {}};
  ASSERT_EQ(registry_.Register(failing), S_OK);
  EXPECT_EQ(registry_.CreateInstance(kAddInClass, &s), E_OUTOFMEMORY);
  EXPECT_EQ(registry_.GetUserTypeName(kUnknownClass, &text), S_OK);
  EXPECT_EQ(registry_.ClsidToProgId(Guid::New(), &text), REGDB_E_CLASSNOTREG);
}

TEST_F(ClassRegistryTest, CategoriesListMembersInJoiningOrder) {
  std::vector<Guid> members;
  ASSERT_EQ(registry_.EnumClassesOfCategory(kSampleCategory, &members), S_OK);
  EXPECT_EQ(members, (std::vector<Guid>{kSampleOne, kSampleTwo}));
  ASSERT_EQ(registry_.EnumClassesOfCategory(kOtherCategory, &members), S_OK);
  EXPECT_EQ(members, (std::vector<Guid>{kSampleOne}));
  EXPECT_EQ(registry_.IsClassOfCategory(kSampleTwo, kSampleCategory), S_OK);
  EXPECT_EQ(registry_.IsClassOfCategory(kSampleTwo, kOtherCategory), S_FALSE);
  EXPECT_EQ(registry_.IsClassOfCategory(kUnknownClass, kOtherCategory), S_FALSE);

  const Guid other[] = {kOtherCategory};
  ASSERT_EQ(registry_.RegisterCategories(kSampleTwo, other), S_OK);
  EXPECT_EQ(registry_.IsClassOfCategory(kSampleTwo, kOtherCategory), S_OK);
  ASSERT_EQ(registry_.UnregisterCategories(kSampleOne, other), S_OK);
  ASSERT_EQ(registry_.EnumClassesOfCategory(kOtherCategory, &members), S_OK);
  EXPECT_EQ(members, (std::vector<Guid>{kSampleTwo}));
  ASSERT_EQ(registry_.EnumClassesOfCategory(Guid::New(), &members), S_OK);
  EXPECT_TRUE(members.empty());
}

TEST_F(ClassRegistryTest, ReRegisteringReplacesAndUnregisteringForgets) {
  ClassRegistry::ClassInfo replacement{
      kSampleOne, u"KivTest.SampleOne.1", u"Replaced",
      [](IKivUnknown** out) { return GiveOut(MakeKiv<CSample>(11)->PrimaryUnknown(), out); },
      {kOtherCategory}};
  EXPECT_EQ(registry_.Register(replacement), S_FALSE);
  ComPtr<IKivSample> s;
  ASSERT_EQ(registry_.CreateInstance(kSampleOne, &s), S_OK);
  EXPECT_EQ(ValueOf(s), 11);
  EXPECT_EQ(registry_.IsClassOfCategory(kSampleOne, kSampleCategory), S_FALSE);

  // A program id belongs to one class.
  ClassRegistry::ClassInfo thief{Guid::New(), u"KIVTEST.SAMPLEONE.1", {}, {}, {}};
  EXPECT_EQ(registry_.Register(thief), E_INVALIDARG);
  EXPECT_EQ(registry_.Register(ClassRegistry::ClassInfo{}), E_INVALIDARG);  // null identity

  EXPECT_EQ(registry_.Unregister(kSampleOne), S_OK);
  EXPECT_EQ(registry_.Unregister(kSampleOne), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(registry_.CreateInstance(kSampleOne, &s), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(registry_.IsClassOfCategory(kSampleOne, kOtherCategory), S_FALSE);
}

KivResult ListTwice(IKivClassSink* sink) {
  const KivClassEntry entry{kAddInClass, nullptr, u"Twice", nullptr, nullptr, 0};
  (void)sink->AddClass(entry);
  (void)sink->AddClass(entry);
  return S_OK;
}

KivResult ListThenThrow(IKivClassSink* sink) {
  (void)sink->AddClass(KivClassEntry{kAddInClass, nullptr, u"Thrower", nullptr, nullptr, 0});
  throw std::runtime_error("add-in fault");
}

// A list that fails, names a class twice or throws keeps none of its classes.
TEST(ClassRegistryAddInTest, AFailingListKeepsNothing) {
  ClassRegistry registry;
  std::u16string name;
  EXPECT_EQ(registry.RegisterAddIn(&testing::ListThenFail), E_FAIL);
  EXPECT_EQ(registry.RegisterAddIn(&ListTwice), E_INVALIDARG);
  EXPECT_EQ(registry.RegisterAddIn(&ListThenThrow), E_FAIL);
  EXPECT_EQ(registry.GetUserTypeName(kAddInClass, &name), REGDB_E_CLASSNOTREG);
  ComPtr<IKivSample> s;
  EXPECT_EQ(registry.CreateInstance(kAddInClass, &s), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(registry.RegisterAddIn(nullptr), E_POINTER);
}

TEST(ClassRegistryAddInTest, LoadsAModuleAndCreatesItsClassAndRefusesOnesThatCannotServe) {
  ClassRegistry registry;
  EXPECT_EQ(registry.LoadAddIn("/nonexistent/velmar-addin.so"), E_MOD_NOT_FOUND);
  EXPECT_EQ(registry.LoadAddIn("libm.so.6"), E_PROC_NOT_FOUND);  // loads, but lists nothing
#ifndef VELMAR_TEST_ADDIN
  GTEST_SKIP() << "the test add-in module is not built";
#else
  ASSERT_EQ(registry.LoadAddIn(VELMAR_TEST_ADDIN), S_OK);
  EXPECT_EQ(registry.LoadAddIn(VELMAR_TEST_ADDIN), S_FALSE);
  Guid clsid;
  ASSERT_EQ(registry.ProgIdToClsid(u"KivTest.AddIn", &clsid), S_OK);
  EXPECT_EQ(clsid, kAddInClass);
  ComPtr<IKivSample> s;
  ASSERT_EQ(registry.CreateInstance(clsid, &s), S_OK);
  EXPECT_EQ(ValueOf(s), 42);
  EXPECT_EQ(registry.IsClassOfCategory(kAddInClass, kSampleCategory), S_OK);
#endif
}

TEST(ClassRegistryThreadTest, RegistrationFromThreadsWhileCreating) {
  ClassRegistry registry;
  ASSERT_EQ(registry.RegisterAddIn(&testing::ListSampleClasses), S_OK);
  constexpr int kClasses = 50;
  std::vector<Guid> ids(kClasses);
  for (auto& id : ids) id = Guid::New();
  std::thread writer([&] {
    for (const Guid& id : ids) {
      ClassRegistry::ClassInfo info{id, {}, {}, {}, {kOtherCategory}};
      EXPECT_EQ(registry.Register(info), S_OK);
    }
  });
  for (int i = 0; i < 200; ++i) {
    ComPtr<IKivSample> s;
    ASSERT_EQ(registry.CreateInstance(kSampleTwo, &s), S_OK);
  }
  writer.join();
  std::vector<Guid> members;
  ASSERT_EQ(registry.EnumClassesOfCategory(kOtherCategory, &members), S_OK);
  EXPECT_EQ(members.size(), size_t{kClasses + 1});
}

}  // namespace
}  // namespace velmar
