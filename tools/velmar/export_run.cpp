#include "export_run.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "host_error.h"
#include "loaded_outing.h"
#include "outing_watch.h"
#include "output.h"
#include "transaction_watch.h"
#include "velmar/channel_writer.h"
#include "velmar/events_writer.h"
#include "velmar/selection_sources.h"
#include "velmar/text.h"
#include "velmar/transaction.h"

namespace velmar::cli {
namespace {

// A message of a step that wrote nothing, or of a commit that rolled back.
bool IsFailure(const std::u16string& message) {
  return message.starts_with(u"Failed") || message.find(u"No data found for any") != std::u16string::npos;
}

// A message after which nothing of the transaction is in the file.
bool EndsEverything(const std::u16string& message) {
  return message == u"Failed to obtain write access to outing" || message == u"Failed to save changes to outing";
}

// The new data set, selected in the session's task with the input's
// factories as its sources. Lets go of it all before the file is removed.
class NewDataSet {
 public:
  NewDataSet(HostSession& session, const std::string& file) : session_(session), file_(file) {
    const std::u16string typeId = HostSession::TypeIdForFile(file);
    if (typeId.empty()) Fail(file, "unknown file type (expected .txt, .trn, .mat, .xlsx or .xls)");
    std::error_code error;
    if (std::filesystem::exists(file, error)) Fail(file, "already exists");
    const std::filesystem::path absolute = std::filesystem::absolute(file, error);
    const Variant paths = MakeTextArray({Utf8ToWide((error ? std::filesystem::path(file) : absolute).string())});
    OutingList outings;
    const KivResult r = session.factory()->CreateEx(KIV_TRUE, KIV_FALSE, typeId, &paths, &outings);
    if (Failed(r) || outings.size() != 1 || !outings.front()) Fail(file, "cannot be created", Failed(r) ? r : E_FAIL);
    created_ = outings.front();
    if (!session.Settle(file) || !std::filesystem::exists(file, error)) {
      Remove();
      Fail(file, "cannot be created");
    }
    selection_ = session.Select(created_.Get(), file);
    if (selection_->GetOuting(outing_.Put()) != S_OK || !outing_) {
      Remove();
      Fail(file, "the new data set could not be selected");
    }
    // Units are looked up in the root's channel property database.
    auto channels = QueryAs<IKivChannelFactory>(outing_.Get());
    if (channels) (void)channels->SetRoot(session.root());
    // Asking for the lists opens the data set (a store's connection with it).
    NameList names;
    ComPtr<IKivPropertySet> information;
    if (channels) (void)channels->GetNames(&names);
    (void)outing_->GetOutingInformation(information.Put());
    if (!session.Settle(file)) {
      Remove();
      Fail(file, "timed out while opening the new data set");
    }
  }

  IKivOuting* outing() const { return outing_.Get(); }
  IKivDataSelection4* selection() const { return selection_.Get(); }

  // Lets go of the outing, lets the caches end, and deletes the file with
  // the store's side files.
  void Remove() {
    outing_ = nullptr;
    if (selection_) (void)selection_->Update(kSelectionOuting, nullptr, nullptr, 0, 0, 0, KIV_FALSE);
    created_ = nullptr;
    (void)session_.Settle(file_);
    std::error_code error;
    for (const char* suffix : {"", "-wal", "-shm", "-journal"}) std::filesystem::remove(file_ + suffix, error);
  }

 private:
  HostSession& session_;
  std::string file_;
  ComPtr<IKivOuting> created_;
  ComPtr<IKivDataSelection4> selection_;
  ComPtr<IKivOuting> outing_;
};

NameList ChosenChannels(const LoadedOuting& in, const NameList& asked) {
  if (asked.empty()) return in.ChannelNames();
  NameList names;
  for (const std::u16string& name : asked) {
    const std::u16string listed = in.ChannelListName(name);
    (void)in.Channel(listed);  // throws for a name the input lacks
    names.push_back(listed);
  }
  return names;
}

// The input's information a user sets; what a data set works out for itself
// (dates, fast lap, identity) stays the destination's own. The first lap
// number is left out: without the lap markers it would number nothing.
PropertyList UserInformation(const LoadedOuting& in) {
  static constexpr std::u16string_view kUserSet[] = {u"Driver name",   u"Track name",   u"Session number",
                                                     u"Outing number", u"Short comment", u"Long comment",
                                                     u"Car name",      u"Engine test",  u"System details"};
  PropertyList chosen;
  for (const Property& property : in.Information()) {
    if (std::find(std::begin(kUserSet), std::end(kUserSet), property.name) != std::end(kUserSet)) {
      chosen.push_back(property);
    }
  }
  return chosen;
}

// Queues the information step; 1 when one was queued.
int QueueInformation(const ExportRequest& request, const PropertyList& information, IKivOuting* outing) {
  if (information.empty()) return 0;
  ComPtr<IKivPropertySet> properties;
  if (outing->GetOutingInformation(properties.Put()) != S_OK || !properties) {
    Fail(request.out, "this data set cannot take outing information");
  }
  const KivResult r = properties->SetProperties(information);
  if (Failed(r)) Fail(request.out, "the outing information was refused", r);
  return 1;
}

// Queues the writes; the number of steps queued.
int QueueWrites(const ExportRequest& request, const NameList& channels, const NameList& eventSets,
                IKivOuting* outing) {
  int queued = 0;
  if (!channels.empty()) {
    auto writer = QueryAs<IKivChannelWriter3>(outing);
    if (!writer) Fail(request.out, "this data set cannot take channels");
    const KivResult r = request.period == 0
                            ? writer->WriteChannels(request.start, request.end, &channels)
                            : writer->WriteChannelsResampled(request.start, request.end, &channels, request.period);
    if (r == E_INVALIDARG && request.period != 0) Fail(request.out, "the period must lie between 1 ms and 10 s", r);
    if (Succeeded(r)) ++queued;
    else if (r != KIV_E_NO_CHANNEL_DATA) Fail(request.out, "the channels were refused", r);
  }
  if (!eventSets.empty()) {
    auto writer = QueryAs<IKivEventsWriter>(outing);
    if (!writer) Fail(request.out, "this data set cannot take events");
    const KivResult r = writer->WriteEvents(request.start, request.end, &eventSets);
    if (Succeeded(r)) ++queued;
    else if (r != KIV_E_NO_EVENT_DATA) Fail(request.out, "the events were refused", r);
  }
  return queued;
}

}  // namespace

ExportCounts RunExport(const ExportRequest& request, const CommandContext& context) {
  if (request.in == request.out) Fail(request.out, "is the input");
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting in(session, request.in);
  // The input's channels find their units in the root's database.
  if (auto channels = QueryAs<IKivChannelFactory>(in.outing())) (void)channels->SetRoot(session.root());
  const NameList channels = ChosenChannels(in, request.channels);
  const NameList eventSets = request.events ? in.EventSetNames() : NameList{};

  NewDataSet out(session, request.out);
  auto sources = QueryAs<IKivDataSelectionSources>(out.selection());
  if (!sources) Fail(request.out, "the selection takes no sources");
  (void)sources->AddChannelSource(QueryAs<IKivChannelFactory>(in.outing()).Get());
  (void)sources->AddEventsSource(QueryAs<IKivEventsFactory>(in.outing()).Get());
  OutingWatch outingWatch(out.outing(), request.out);  // writer messages go to stderr
  TransactionWatch watch(out.outing());
  auto transaction = QueryAs<IKivTransaction>(out.outing());
  if (!transaction || Failed(transaction->Begin())) {
    out.Remove();
    Fail(request.out, "cannot begin a transaction");
  }
  int queued = 0;
  try {
    queued = QueueWrites(request, channels, eventSets, out.outing());
    if (request.information) queued += QueueInformation(request, UserInformation(in), out.outing());
  } catch (const HostError&) {
    (void)transaction->Rollback();
    out.Remove();
    throw;
  }
  if (queued == 0) {
    (void)transaction->Rollback();
    out.Remove();
    Fail(request.out, "nothing to write: no data in the range");
  }
  if (Failed(transaction->Commit())) {
    out.Remove();
    Fail(request.out, "cannot commit");
  }
  if (!session.Settle("writing " + request.out) || !watch.finished()) {
    Fail(request.out, "the write did not finish in time");
  }
  int failed = 0;
  for (const std::u16string& message : watch.messages()) {
    if (IsFailure(message)) failed += EndsEverything(message) ? queued : 1;
    std::fprintf(stderr, "%s: %s\n", request.out.c_str(), Utf8(message).c_str());
  }
  if (failed >= queued) out.Remove();
  if (failed > 0) Fail(request.out, failed >= queued ? "nothing could be written" : "only part could be written");
  return {channels.size(), eventSets.size()};
}

}  // namespace velmar::cli
