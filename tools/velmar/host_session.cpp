#include "host_session.h"

#include <filesystem>

#include "host_error.h"
#include "velmar/classes.h"
#include "velmar/client_thread.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

// One slice of waiting between redraws of the progress line.
constexpr std::chrono::milliseconds kSlice{100};

}  // namespace

HostSession::HostSession(std::chrono::milliseconds timeout, bool showProgress, const std::string& settingsFile)
    : timeout_(timeout), progress_(showProgress && Progress::StderrIsTerminal()) {
  if (KivResult r = KivCreateInstance(CLSID_KivVelmar, &root_); Failed(r)) {
    Fail("velmar", "the root object could not be made", r);
  }
  if (KivResult r = KivCreateInstance(CLSID_KivOutingFactory, &factory_); Failed(r)) {
    Fail("velmar", "the outing factory could not be made", r);
  }
  if (!settingsFile.empty()) settings_ = std::make_unique<SettingsFile>(root_.Get(), settingsFile);
}

HostSession::~HostSession() {
  task_ = nullptr;
  factory_ = nullptr;
  settings_.reset();
  if (root_) (void)root_->Close();
  root_ = nullptr;
  // Jobs still in flight hold caches; let them come back and end.
  (void)KivClientThread::Current().RunUntilSettled(timeout_);
}

std::u16string HostSession::TypeIdForFile(const std::string& file) {
  const std::u16string extension = Utf8ToWide(std::filesystem::path(file).extension().string());
  if (EqualsNoCase(extension, u".txt")) return kTextOutingTypeId.ToWide();
  if (EqualsNoCase(extension, u".trn")) return kTarnOutingTypeId.ToWide();
  if (EqualsNoCase(extension, u".mat")) return kMatFileOutingTypeId.ToWide();
  if (EqualsNoCase(extension, u".xlsx") || EqualsNoCase(extension, u".xls")) return kSpreadsheetOutingTypeId.ToWide();
  return {};
}

ComPtr<IKivOuting> HostSession::Open(const std::string& file) {
  const std::u16string typeId = TypeIdForFile(file);
  if (typeId.empty()) {
    const std::string extension = std::filesystem::path(file).extension().string();
    Fail(file, "unknown file type \"" + (extension.empty() ? std::string("(none)") : extension) +
                   "\" (expected .txt, .trn or .mat)");
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
  const KivClientThread client = KivClientThread::Current();
  const auto deadline = Progress::Clock::now() + timeout_;
  progress_.Begin(what);
  bool settled = false;
  while (!(settled = client.RunUntilSettled(kSlice)) && Progress::Clock::now() < deadline) {
    progress_.Tick();
  }
  progress_.End();
  return settled;
}

ComPtr<IKivDataSelection4> HostSession::Select(IKivOuting* outing, const std::string& file) {
  if (!task_) {
    ComPtr<IKivTasks> tasks;
    if (KivResult r = root_->GetTasks(tasks.Put()); Failed(r)) Fail("velmar", "the root has no task list", r);
    if (KivResult r = tasks->AddTask(task_.Put()); Failed(r)) Fail("velmar", "a task could not be made", r);
  }
  DataSelectionList added;
  if (KivResult r = task_->Update(kTaskAddSelections, nullptr, 1, 0, u"", u"", 0, u"", 0, KIV_FALSE, 1, &added);
      Failed(r) || added.size() != 1)
    Fail(file, "a data selection could not be made", Failed(r) ? r : E_FAIL);
  ComPtr<IKivDataSelection4> selection = added.front();
  if (KivResult r = selection->Update(kSelectionOuting, outing, nullptr, 0, 0, 0, KIV_FALSE); Failed(r))
    Fail(file, "the outing could not be selected", r);
  return selection;
}

}  // namespace velmar::cli
