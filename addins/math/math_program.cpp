#include "math_program.h"

#include <muParser.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <nlohmann/json.hpp>

#include "velmar/text.h"

namespace velmar::math {
namespace {

// Variables for quoted operands: a prefix no channel name of the
// expression can take, since bare names come from the text as written.
constexpr const char* kQuotedPrefix = "_q";

bool IsNameChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

// Replaces each `quoted name` by a variable; the same name gets the same one.
bool ReplaceQuoted(const std::string& text, std::string* out, std::map<std::string, std::string>* quoted) {
  out->clear();
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '`') {
      out->push_back(text[i]);
      continue;
    }
    const size_t end = text.find('`', i + 1);
    if (end == std::string::npos) return false;
    const std::string name = text.substr(i + 1, end - i - 1);
    auto found = std::find_if(quoted->begin(), quoted->end(), [&](const auto& q) { return q.second == name; });
    std::string variable = found != quoted->end() ? found->first : kQuotedPrefix + std::to_string(quoted->size());
    (*quoted)[variable] = name;
    *out += variable;
    i = end;
  }
  return true;
}

// Where a variable first stands as a whole word in the expression.
size_t FirstUse(const std::string& expression, const std::string& variable) {
  for (size_t at = expression.find(variable); at != std::string::npos; at = expression.find(variable, at + 1)) {
    const bool startsWord = at == 0 || !IsNameChar(expression[at - 1]);
    const size_t after = at + variable.size();
    const bool endsWord = after >= expression.size() || !IsNameChar(expression[after]);
    if (startsWord && endsWord) return at;
  }
  return std::string::npos;
}

std::u16string Named(const MathDefinition& definition, const std::string& what) {
  return u"Math channel \"" + definition.name + u"\": " + Utf8ToWide(what);
}

}  // namespace

bool ParseDefinitions(const std::string& json, std::vector<MathDefinition>* definitions,
                      std::vector<std::u16string>* messages) {
  const nlohmann::json list = nlohmann::json::parse(json, nullptr, false);
  if (!list.is_array()) {
    messages->push_back(u"Math channel definitions: not a JSON list");
    return false;
  }
  for (const nlohmann::json& entry : list) {
    const auto text = [&](const char* key) {
      return entry.is_object() && entry.contains(key) && entry[key].is_string()
                 ? Utf8ToWide(entry[key].get<std::string>()) : std::u16string();
    };
    MathDefinition definition{text("name"), text("expression"), text("unit")};
    if (definition.name.empty() || definition.expression.empty()) {
      messages->push_back(Named(definition, "needs a name and an expression"));
      continue;
    }
    definitions->push_back(std::move(definition));
  }
  return true;
}

bool Compile(const MathDefinition& definition, MathProgram* program, std::u16string* message) {
  program->definition = definition;
  std::map<std::string, std::string> quoted;
  if (!ReplaceQuoted(WideToUtf8(definition.expression), &program->expression, &quoted)) {
    *message = Named(definition, "a ` quote is not closed");
    return false;
  }
  std::vector<std::string> used;
  try {
    mu::Parser parser;
    parser.SetExpr(program->expression);
    for (const auto& [name, address] : parser.GetUsedVar()) used.push_back(name);
  } catch (const mu::Parser::exception_type& error) {
    *message = Named(definition, error.GetMsg());
    return false;
  }
  if (used.empty()) {
    *message = Named(definition, "the expression names no channel");
    return false;
  }
  std::sort(used.begin(), used.end(), [&](const std::string& a, const std::string& b) {
    return FirstUse(program->expression, a) < FirstUse(program->expression, b);
  });
  program->variables = used;
  program->operands.clear();
  for (const std::string& variable : used) {
    auto q = quoted.find(variable);
    program->operands.push_back(Utf8ToWide(q != quoted.end() ? q->second : variable));
  }
  program->keepsQuantity = program->expression.find_first_of("*/^(") == std::string::npos;
  return true;
}

}  // namespace velmar::math
