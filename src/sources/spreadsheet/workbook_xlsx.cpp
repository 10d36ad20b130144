#include "sources/spreadsheet/workbook_xlsx.h"

#include <expat.h>
#include <unzip.h>

#include <charconv>
#include <cstring>
#include <functional>
#include <memory>
#include <string>

#include "velmar/text.h"

namespace velmar {

namespace {

constexpr uLong kMaxPartBytes = 256u << 20;  // a part larger than this is no workbook of ours

struct ZipCloser {
  void operator()(void* zip) const { unzClose(zip); }
};
using Zip = std::unique_ptr<void, ZipCloser>;

// The bytes of one part; false when it is missing or can't be read.
bool ReadPart(unzFile zip, const std::string& name, std::string* bytes) {
  if (unzLocateFile(zip, name.c_str(), 0) != UNZ_OK) return false;
  unz_file_info info{};
  if (unzGetCurrentFileInfo(zip, &info, nullptr, 0, nullptr, 0, nullptr, 0) != UNZ_OK) return false;
  if (info.uncompressed_size > kMaxPartBytes) return false;
  if (unzOpenCurrentFile(zip) != UNZ_OK) return false;
  bytes->assign(info.uncompressed_size, '\0');
  const int read = bytes->empty() ? 0 : unzReadCurrentFile(zip, bytes->data(), static_cast<unsigned>(bytes->size()));
  const bool closed = unzCloseCurrentFile(zip) == UNZ_OK;
  return closed && read == static_cast<int>(bytes->size());
}

// Element events of one XML part: local names (prefix cut), attributes by
// local name, and the text of the innermost element.
struct XmlHandler {
  std::function<void(std::string_view name, const std::map<std::string, std::string>& attributes)> start;
  std::function<void(std::string_view name, const std::string& text)> end;
  std::string text;
};

std::string_view LocalName(const char* name) {
  std::string_view view(name);
  const size_t colon = view.rfind(':');
  return colon == std::string_view::npos ? view : view.substr(colon + 1);
}

void XMLCALL OnStart(void* data, const char* name, const char** attributes) {
  auto* handler = static_cast<XmlHandler*>(data);
  handler->text.clear();
  std::map<std::string, std::string> attrs;
  for (size_t i = 0; attributes[i]; i += 2) attrs.emplace(LocalName(attributes[i]), attributes[i + 1]);
  if (handler->start) handler->start(LocalName(name), attrs);
}

void XMLCALL OnEnd(void* data, const char* name) {
  auto* handler = static_cast<XmlHandler*>(data);
  if (handler->end) handler->end(LocalName(name), handler->text);
  handler->text.clear();
}

void XMLCALL OnText(void* data, const char* text, int length) {
  static_cast<XmlHandler*>(data)->text.append(text, static_cast<size_t>(length));
}

struct ParserFree {
  void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};

bool ParseXml(const std::string& bytes, XmlHandler& handler) {
  std::unique_ptr<XML_ParserStruct, ParserFree> parser(XML_ParserCreate("UTF-8"));
  if (!parser) return false;
  XML_SetUserData(parser.get(), &handler);
  XML_SetElementHandler(parser.get(), OnStart, OnEnd);
  XML_SetCharacterDataHandler(parser.get(), OnText);
  return XML_Parse(parser.get(), bytes.data(), static_cast<int>(bytes.size()), XML_TRUE) == XML_STATUS_OK;
}

std::string Attribute(const std::map<std::string, std::string>& attributes, const char* name) {
  auto it = attributes.find(name);
  return it == attributes.end() ? std::string() : it->second;
}

struct SheetEntry {
  std::u16string name;
  std::string relation;
};

// The sheets in workbook order, the active tab and the defined names.
bool ReadWorkbookPart(const std::string& bytes, std::vector<SheetEntry>* sheets, size_t* active,
                      std::map<std::u16string, std::u16string>* names) {
  XmlHandler handler;
  std::string definedName;
  handler.start = [&](std::string_view name, const std::map<std::string, std::string>& attributes) {
    if (name == "sheet") {
      sheets->push_back({Utf8ToWide(Attribute(attributes, "name")), Attribute(attributes, "id")});
    } else if (name == "workbookView") {
      const std::string tab = Attribute(attributes, "activeTab");
      size_t value = 0;
      if (!tab.empty() && std::from_chars(tab.data(), tab.data() + tab.size(), value).ec == std::errc()) *active = value;
    } else if (name == "definedName") {
      definedName = Attribute(attributes, "name");
    }
  };
  handler.end = [&](std::string_view name, const std::string& text) {
    if (name == "definedName" && !definedName.empty()) (*names)[Utf8ToWide(definedName)] = Utf8ToWide(text);
  };
  return ParseXml(bytes, handler) && !sheets->empty();
}

// Relationship id -> part name under "xl/".
std::map<std::string, std::string> ReadRelations(const std::string& bytes) {
  std::map<std::string, std::string> relations;
  XmlHandler handler;
  handler.start = [&](std::string_view name, const std::map<std::string, std::string>& attributes) {
    if (name != "Relationship") return;
    std::string target = Attribute(attributes, "Target");
    if (target.rfind("/xl/", 0) == 0) {
      target = target.substr(4);
    } else if (!target.empty() && target.front() == '/') {
      target = target.substr(1);
    }
    relations[Attribute(attributes, "Id")] = "xl/" + target;
  };
  if (!ParseXml(bytes, handler)) relations.clear();
  return relations;
}

// A cell text with its escapes "_xHHHH_" (characters XML cannot carry, such as CR) undone.
std::u16string CellText(const std::string& utf8) {
  std::u16string text = Utf8ToWide(utf8);
  for (size_t at = text.find(u"_x"); at != std::u16string::npos; at = text.find(u"_x", at + 1)) {
    if (at + 7 > text.size() || text[at + 6] != u'_') continue;
    uint32_t code = 0;
    const std::string hex = WideToUtf8(text.substr(at + 2, 4));
    const auto [end, ec] = std::from_chars(hex.data(), hex.data() + hex.size(), code, 16);
    if (ec != std::errc() || end != hex.data() + hex.size()) continue;
    text.replace(at, 7, 1, static_cast<char16_t>(code));
  }
  return text;
}

// The shared texts in order: each "si" the run of its "t" elements.
std::vector<std::u16string> ReadSharedStrings(const std::string& bytes) {
  std::vector<std::u16string> strings;
  std::string current;
  XmlHandler handler;
  handler.end = [&](std::string_view name, const std::string& text) {
    if (name == "t") {
      current += text;
    } else if (name == "si") {
      strings.push_back(CellText(current));
      current.clear();
    }
  };
  if (!ParseXml(bytes, handler)) strings.clear();
  return strings;
}

// A cell of type `type` holding `value` (an inline text's own text for "inlineStr").
WorkbookCell SheetCell(const std::string& type, const std::string& value, const std::vector<std::u16string>& shared) {
  if (type.empty() || type == "n") {
    double number = 0;
    const auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), number);
    if (ec == std::errc() && end == value.data() + value.size()) return {WorkbookCell::Kind::kNumber, number, {}};
    return {WorkbookCell::Kind::kOther, 0, {}};
  }
  if (type == "s") {
    size_t index = 0;
    const auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), index);
    const bool found = ec == std::errc() && end == value.data() + value.size() && index < shared.size();
    return {WorkbookCell::Kind::kOther, 0, found ? shared[index] : std::u16string()};
  }
  if (type == "inlineStr" || type == "str") return {WorkbookCell::Kind::kOther, 0, CellText(value)};
  return {WorkbookCell::Kind::kOther, 0, {}};
}

bool ReadSheetPart(const std::string& bytes, const std::vector<std::u16string>& shared, WorkbookSheet* sheet) {
  XmlHandler handler;
  std::optional<CellRef> ref;
  std::string type;
  std::string value;
  bool hasValue = false;
  handler.start = [&](std::string_view name, const std::map<std::string, std::string>& attributes) {
    if (name == "c") {
      ref = ParseCellRef(Utf8ToWide(Attribute(attributes, "r")));
      type = Attribute(attributes, "t");
      value.clear();
      hasValue = false;
    } else if (name == "is") {
      hasValue = true;  // an inline text
    }
  };
  handler.end = [&](std::string_view name, const std::string& text) {
    if (name == "v") {
      value = text;
      hasValue = true;
    } else if (name == "t") {
      value += text;
    } else if (name == "c" && ref && hasValue) {
      sheet->cells[*ref] = SheetCell(type, value, shared);
    }
  };
  return ParseXml(bytes, handler);
}

}  // namespace

KivResult ReadXlsxWorkbook(const std::filesystem::path& file, Workbook* workbook) {
  if (!workbook) return E_POINTER;
  Zip zip(unzOpen64(file.string().c_str()));
  if (!zip) return E_FAIL;
  std::string bytes;
  std::vector<SheetEntry> entries;
  Workbook read;
  size_t active = 0;
  if (!ReadPart(zip.get(), "xl/workbook.xml", &bytes) || !ReadWorkbookPart(bytes, &entries, &active, &read.names())) {
    return E_FAIL;
  }
  if (!ReadPart(zip.get(), "xl/_rels/workbook.xml.rels", &bytes)) return E_FAIL;
  const auto relations = ReadRelations(bytes);
  std::vector<std::u16string> shared;
  if (ReadPart(zip.get(), "xl/sharedStrings.xml", &bytes)) shared = ReadSharedStrings(bytes);
  for (const SheetEntry& entry : entries) {
    auto part = relations.find(entry.relation);
    WorkbookSheet sheet;
    sheet.name = entry.name;
    if (part == relations.end() || !ReadPart(zip.get(), part->second, &bytes) ||
        !ReadSheetPart(bytes, shared, &sheet)) {
      return E_FAIL;
    }
    read.sheets().push_back(std::move(sheet));
  }
  read.set_active(active < read.sheets().size() ? active : 0);
  *workbook = std::move(read);
  return S_OK;
}

}  // namespace velmar
