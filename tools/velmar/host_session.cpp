#include "host_session.h"

#include <filesystem>
#include <mutex>

#include "config/config_classes.h"
#include "core/velmar.h"
#include "host_error.h"
#include "outing/outing_factory.h"
#include "platform/async/dispatcher.h"
#include "platform/async/job_engine.h"
#include "regions/regions_classes.h"
#include "sources/tarn/tarn_outing.h"
#include "sources/text/text_outing_source.h"
#include "tasks/tasks.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

// One slice of waiting between redraws of the progress line.
constexpr std::chrono::milliseconds kSlice{100};

void RegisterLibrary() {
  static std::once_flag once;
  static KivResult result = S_OK;
  std::call_once(once, [] {
    ClassRegistry& registry = ClassRegistry::Process();
    for (KivResult r : {RegisterConfigClasses(registry), RegisterTasksClasses(registry), RegisterRegionsClasses(registry),
                        RegisterTextOutingSource(), RegisterTarnOutingSource()}) {
      if (Failed(r) && Succeeded(result)) result = r;
    }
  });
  if (Failed(result)) Fail("velmar", "the library could not be set up", result);
}

}  // namespace

HostSession::HostSession(std::chrono::milliseconds timeout, bool showProgress)
    : timeout_(timeout), progress_(showProgress && Progress::StderrIsTerminal()) {
  RegisterLibrary();
  ComPtr<CVelmar> root;
  if (KivResult r = CVelmar::Create(&root); Failed(r)) Fail("velmar", "the root object could not be made", r);
  root_ = root;
  ComPtr<IKivUnknown> factory;
  if (KivResult r = CreateOutingFactory(factory.Put()); Failed(r)) {
    Fail("velmar", "the outing factory could not be made", r);
  }
  factory_ = factory.As<IKivNewOutingFactory5>();
  if (!factory_) Fail("velmar", "the outing factory has no outing interface");
}

HostSession::~HostSession() {
  factory_ = nullptr;
  if (root_) (void)root_->Close();
  root_ = nullptr;
  // Jobs still in flight hold caches; let them come back and end.
  (void)Async_RunUntilSettled(Dispatcher::ForThisThread(), timeout_);
}

std::u16string HostSession::TypeIdForFile(const std::string& file) {
  const std::u16string extension = Utf8ToWide(std::filesystem::path(file).extension().string());
  if (EqualsNoCase(extension, u".txt")) return kTextOutingTypeId.ToWide();
  if (EqualsNoCase(extension, u".trn")) return kTarnOutingTypeId.ToWide();
  return {};
}

ComPtr<IKivOuting> HostSession::Open(const std::string& file) {
  const std::u16string typeId = TypeIdForFile(file);
  if (typeId.empty()) {
    const std::string extension = std::filesystem::path(file).extension().string();
    Fail(file, "unknown file type \"" + (extension.empty() ? std::string("(none)") : extension) +
                   "\" (expected .txt or .trn)");
  }
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) Fail(file, "no such file");
  const std::filesystem::path absolute = std::filesystem::absolute(file, error);
  const Variant paths = MakeTextArray({Utf8ToWide((error ? std::filesystem::path(file) : absolute).string())});
  OutingList outings;
  const KivResult r = factory_->Create(KIV_FALSE, typeId, &paths, &outings);
  if (Failed(r)) Fail(file, "the outing could not be opened", r);
  if (r == S_FALSE) Fail(file, "no such file");
  if (outings.size() != 1 || !outings.front()) Fail(file, "the outing could not be opened");
  return outings.front();
}

bool HostSession::Settle(const std::string& what) {
  Dispatcher& dispatcher = Dispatcher::ForThisThread();
  const auto deadline = Progress::Clock::now() + timeout_;
  progress_.Begin(what);
  bool settled = false;
  while (!(settled = Async_RunUntilSettled(dispatcher, kSlice)) && Progress::Clock::now() < deadline) {
    progress_.Tick();
  }
  progress_.End();
  return settled;
}

}  // namespace velmar::cli
