#include <zip.h>

#include "sources/spreadsheet/xlsx_writer.h"

namespace velmar::testing {

namespace {

bool AddPart(zipFile zip, const std::string& name, const std::string& content) {
  zip_fileinfo info{};
  if (zipOpenNewFileInZip(zip, name.c_str(), &info, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED,
                          Z_DEFAULT_COMPRESSION) != ZIP_OK) {
    return false;
  }
  const bool written = zipWriteInFileInZip(zip, content.data(), static_cast<unsigned>(content.size())) == ZIP_OK;
  return zipCloseFileInZip(zip) == ZIP_OK && written;
}

std::string SheetXml(const XlsxSheet& sheet) {
  std::string xml =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
      "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"><sheetData><row>";
  for (const auto& [ref, content] : sheet.cells) {
    std::string attributes;
    std::string body = content;
    if (const size_t bar = content.find('|'); bar != std::string::npos) {
      attributes = " " + content.substr(0, bar);
      body = content.substr(bar + 1);
    }
    xml += "<c r=\"" + ref + "\"" + attributes + ">" + body + "</c>";
  }
  return xml + "</row></sheetData></worksheet>";
}

}  // namespace

bool WriteXlsx(const std::filesystem::path& file, const std::vector<XlsxSheet>& sheets, int activeTab,
               const std::vector<std::pair<std::string, std::string>>& definedNames) {
  zipFile zip = zipOpen(file.string().c_str(), APPEND_STATUS_CREATE);
  if (!zip) return false;
  std::string workbook =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
      "<workbook xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" "
      "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">"
      "<bookViews><workbookView activeTab=\"" +
      std::to_string(activeTab) + "\"/></bookViews><sheets>";
  std::string relations =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
      "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";
  bool ok = true;
  for (size_t i = 0; i < sheets.size(); ++i) {
    const std::string id = "rId" + std::to_string(i + 1);
    const std::string part = "worksheets/sheet" + std::to_string(i + 1) + ".xml";
    workbook += "<sheet name=\"" + sheets[i].name + "\" sheetId=\"" + std::to_string(i + 1) + "\" r:id=\"" + id + "\"/>";
    relations += "<Relationship Id=\"" + id + "\" Target=\"" + part + "\"/>";
    ok = ok && AddPart(zip, "xl/" + part, SheetXml(sheets[i]));
  }
  workbook += "</sheets><definedNames>";
  for (const auto& [name, target] : definedNames) workbook += "<definedName name=\"" + name + "\">" + target + "</definedName>";
  workbook += "</definedNames></workbook>";
  ok = ok && AddPart(zip, "xl/workbook.xml", workbook);
  ok = ok && AddPart(zip, "xl/_rels/workbook.xml.rels", relations + "</Relationships>");
  return zipClose(zip, nullptr) == ZIP_OK && ok;
}

}  // namespace velmar::testing
