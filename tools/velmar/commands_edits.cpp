// velmar constants FILE add|set|remove, velmar blobs FILE add|get|set|remove
// and velmar info FILE set: edits of a data set, each one transaction.
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>

#include "edit_commands.h"
#include "edit_transaction.h"
#include "host_error.h"
#include "outing_items.h"
#include "output.h"
#include "velmar/blob_writer.h"
#include "velmar/constants.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

struct EditOptions {
  std::string action;
  std::string name;
  double value = 0.0;
  std::optional<std::string> unit;
  std::optional<std::string> text;
  std::string path;
  std::string type = "{00000000-0000-0000-0000-000000000000}";
  std::vector<std::string> pairs;
};

// --- Constants ----------------------------------------------------------------------

// A spreadsheet definition "|WORKBOOK|STEP...|CELL" put through the writer:
// a step "?NAME" runs a macro, "$NAME=V" sets a range, any other selects a sheet.
KivResult WriteDefinition(IKivExcelConstantWriter& writer, const std::u16string& text) {
  std::vector<std::u16string> fields;
  size_t at = text.starts_with(u"|") ? 1 : 0;
  while (at <= text.size()) {
    const size_t bar = std::min(text.find(u'|', at), text.size());
    fields.push_back(text.substr(at, bar - at));
    at = bar + 1;
  }
  if (fields.size() < 2) return E_INVALIDARG;
  if (KivResult r = writer.SetFile(fields.front()); Failed(r)) return r;
  if (KivResult r = writer.SetTarget(fields.back()); Failed(r)) return r;
  ComPtr<IKivExcelConstantElements> elements;
  if (KivResult r = writer.GetElements(elements.Put()); Failed(r)) return r;
  for (size_t i = 1; i + 1 < fields.size(); ++i) {
    const std::u16string& step = fields[i];
    ComPtr<IKivExcelConstantElement> element;
    if (KivResult r = elements->AddElement(element.Put()); Failed(r)) return r;
    const size_t equals = step.find(u'=');
    const int32_t kind = step.starts_with(u"?") ? kStepRunMacro
                         : step.starts_with(u"$") && equals != std::u16string::npos ? kStepSetRange
                                                                                   : kStepSelectSheet;
    const std::u16string name = kind == kStepSelectSheet ? step : step.substr(1, equals == step.npos ? step.npos : equals - 1);
    if (KivResult r = element->SetKind(kind); Failed(r)) return r;
    if (KivResult r = element->SetName(name); Failed(r)) return r;
    if (kind == kStepSetRange) {
      if (KivResult r = element->SetValue(step.substr(equals + 1)); Failed(r)) return r;
    }
  }
  return S_OK;
}

// The writer's edits of the constant, committed as it is let go.
KivResult EditConstant(IKivConstant* constant, const EditOptions& options) {
  if (auto simple = QueryAs<IKivSimpleConstant>(constant)) {
    ComPtr<IKivSimpleConstantWriter> writer;
    if (KivResult r = simple->GetWriter(writer.Put()); Failed(r)) return r;
    if (KivResult r = writer->SetValue(options.value); Failed(r)) return r;
    return options.unit ? writer->SetUnit(Utf8ToWide(*options.unit)) : S_OK;
  }
  auto excel = QueryAs<IKivExcelConstant>(constant);
  ComPtr<IKivExcelConstantWriter> writer;
  if (!excel || Failed(excel->GetWriter(writer.Put()))) return E_FAIL;
  if (options.unit) {
    if (KivResult r = writer->SetUnit(Utf8ToWide(*options.unit)); Failed(r)) return r;
  }
  return options.text ? WriteDefinition(*writer, Utf8ToWide(*options.text)) : S_OK;
}

void SetConstant(const LoadedOuting& outing, const EditOptions& options) {
  ComPtr<IKivConstant> constant = outing.Constant(Utf8ToWide(options.name));
  RunEditTransaction(outing, "change", [&] { return EditConstant(constant.Get(), options); });
}

void RunConstantEdit(const std::string& file, const EditOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting outing(session, file);
  const std::u16string name = Utf8ToWide(options.name);
  if (options.action == "set") {
    SetConstant(outing, options);
    std::cout << file << ": constant " << options.name << " set\n";
    return;
  }
  auto factory = QueryAs<IKivConstantFactory2>(outing.outing());
  if (!factory) Fail(file, "the constants of this data set cannot be edited");
  (void)outing.ConstantNames();  // the call checks against the list: it is read first
  if (!session.Settle(file)) Fail(file, "timed out while reading the constants");
  if (options.action == "remove") {
    RunEditTransaction(outing, "removal", [&] { return factory->RemoveConstant(name); });
    std::cout << file << ": constant " << options.name << " removed\n";
    return;
  }
  if (options.text && outing.Type() != static_cast<uint32_t>(OutingType::kTarn)) {
    Fail(file, "only a .trn holds spreadsheet constants (--text)");
  }
  const uint32_t kind = options.text ? kSpreadsheetConstant : kSimpleConstant;
  RunEditTransaction(outing, "addition", [&] { return factory->AddConstant(name, kind); });
  // The value, unit and definition are a change of the constant the add made.
  if (options.value != 0.0 || options.unit || options.text) SetConstant(outing, options);
  std::cout << file << ": constant " << options.name << " added\n";
}

// --- Blobs --------------------------------------------------------------------------------

std::vector<uint8_t> ReadFileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) Fail(path, "cannot read the file");
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void GetBlob(const LoadedOuting& outing, const EditOptions& options) {
  for (const BlobRow& row : ReadBlobs(outing)) {
    if (Utf8(row.name) != options.name) continue;
    std::ofstream out(options.path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(row.bytes.data()), static_cast<std::streamsize>(row.bytes.size()));
    if (!out.flush()) Fail(options.path, "cannot write the file");
    std::cout << outing.file() << ": blob " << options.name << " (" << row.bytes.size() << " bytes) to "
              << options.path << "\n";
    return;
  }
  Fail(outing.file(), "no blob \"" + options.name + "\"");
}

void RunBlobEdit(const std::string& file, const EditOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting outing(session, file);
  if (options.action == "get") return GetBlob(outing, options);
  auto writer = QueryAs<IKivBlobWriter>(outing.outing());
  if (!writer) Fail(file, "this data set holds no blobs");
  const std::u16string name = Utf8ToWide(options.name);
  std::vector<uint8_t> bytes;
  if (options.action != "remove") bytes = ReadFileBytes(options.path);
  RunEditTransaction(outing, options.action, [&]() -> KivResult {
    if (options.action == "remove") return writer->RemoveBlob(name);
    if (options.action == "add") {
      if (KivResult r = writer->AddBlob(name, Utf8ToWide(options.type)); Failed(r)) return r;
    }
    return writer->ModifyBlob(name, bytes);
  });
  std::cout << file << ": blob " << options.name << " " << options.action << " done\n";
}

// --- Information -----------------------------------------------------------------------

// Names whose values are numbers, and the one that is a bool.
bool IsNumberName(const std::string& name) {
  for (const char* n : {"Session number", "Outing number", "First lap number", "Fast lap number", "Last lap number",
                        "UTC difference", "Dataset type", "Create date", "Fast lap speed"}) {
    if (name == n) return true;
  }
  return false;
}

// The value of NAME=VALUE in the form its property takes.
Variant ParseValue(const std::string& name, const std::string& text) {
  if (name == "Engine test") {
    const bool yes = text == "true" || text == "True" || text == "1" || text == "-1" || text == "yes";
    return Variant::Bool(yes);
  }
  if (!IsNumberName(name)) return Variant::Text(Utf8ToWide(text));
  size_t used = 0;
  double number = 0.0;
  try {
    number = std::stod(text, &used);
  } catch (const std::exception&) {
    used = 0;
  }
  if (used == 0 || used != text.size()) Fail(name, "\"" + text + "\" is no number");
  if (number == static_cast<int32_t>(number)) return Variant::I32(static_cast<int32_t>(number));
  return Variant::F64(number);
}

void RunInformationEdit(const std::string& file, const EditOptions& options, const CommandContext& context) {
  PropertyList pairs;
  for (const std::string& pair : options.pairs) {
    const size_t equals = pair.find('=');
    if (equals == std::string::npos || equals == 0) Fail(pair, "expected NAME=VALUE");
    const std::string name = pair.substr(0, equals);
    pairs.push_back({Utf8ToWide(name), ParseValue(name, pair.substr(equals + 1))});
  }
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  LoadedOuting outing(session, file);
  ComPtr<IKivPropertySet> information;
  if (outing.outing()->GetOutingInformation(information.Put()) != S_OK || !information) {
    Fail(file, "the outing has no information to edit");
  }
  RunEditTransaction(outing, "change", [&] { return information->SetProperties(pairs); });
  std::cout << file << ": " << pairs.size() << " properties set\n";
}

// Declares an edit subcommand whose callback runs `run` with the options.
template <class Run>
CLI::App* AddEdit(CLI::App& command, const char* name, const char* description, std::shared_ptr<EditOptions> options,
                  const std::string& file, const CommandContext& context, Run run) {
  CLI::App* sub = command.add_subcommand(name, description);
  sub->callback([options, name, &file, &context, run] {
    options->action = name;
    run(file, *options, context);
  });
  return sub;
}

}  // namespace

void AddConstantEdits(CLI::App& command, const std::string& file, const CommandContext& context) {
  auto o = std::make_shared<EditOptions>();
  CLI::App* add = AddEdit(command, "add", "Add a constant", o, file, context, RunConstantEdit);
  add->add_option("NAME", o->name, "Constant name")->required();
  add->add_option("VALUE", o->value, "Its value")->required();
  add->add_option("--unit", o->unit, "Its unit");
  add->add_option("--text", o->text, "A spreadsheet definition \"|WORKBOOK|STEP...|CELL\" (.trn only)");
  CLI::App* set = AddEdit(command, "set", "Change a constant's value", o, file, context, RunConstantEdit);
  set->add_option("NAME", o->name, "Constant name")->required();
  set->add_option("VALUE", o->value, "Its new value")->required();
  set->add_option("--unit", o->unit, "Its new unit");
  CLI::App* remove = AddEdit(command, "remove", "Remove a constant", o, file, context, RunConstantEdit);
  remove->add_option("NAME", o->name, "Constant name")->required();
}

void AddBlobEdits(CLI::App& command, const std::string& file, const CommandContext& context) {
  auto o = std::make_shared<EditOptions>();
  CLI::App* add = AddEdit(command, "add", "Add a blob with a file's content", o, file, context, RunBlobEdit);
  add->add_option("NAME", o->name, "Blob name")->required();
  add->add_option("PATH", o->path, "File to store")->required();
  add->add_option("--type", o->type, "Type GUID in registry form {...}");
  CLI::App* get = AddEdit(command, "get", "Write a blob's content to a file", o, file, context, RunBlobEdit);
  get->add_option("NAME", o->name, "Blob name")->required();
  get->add_option("-o,--output", o->path, "File to write")->required();
  CLI::App* set = AddEdit(command, "set", "Replace a blob's content with a file's", o, file, context, RunBlobEdit);
  set->add_option("NAME", o->name, "Blob name")->required();
  set->add_option("PATH", o->path, "File to store")->required();
  CLI::App* remove = AddEdit(command, "remove", "Remove a blob", o, file, context, RunBlobEdit);
  remove->add_option("NAME", o->name, "Blob name")->required();
}

void AddInformationEdits(CLI::App& command, const std::string& file, const CommandContext& context) {
  auto o = std::make_shared<EditOptions>();
  CLI::App* set = AddEdit(command, "set", "Set outing properties in one transaction", o, file, context,
                          RunInformationEdit);
  set->add_option("PAIRS", o->pairs, "NAME=VALUE, e.g. \"Driver name=A. Driver\" \"Session number=4\"")
      ->required();
}

}  // namespace velmar::cli
