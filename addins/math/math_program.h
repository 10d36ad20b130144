// A math channel's definition made ready to evaluate: the expression with
// every operand turned into a variable muparser accepts, and the operands
// (channel names) in the order they first appear, the first giving the time
// base.
#pragma once

#include <string>
#include <vector>

#include "velmar/result.h"

namespace velmar::math {

struct MathDefinition {
  std::u16string name;
  std::u16string expression;
  std::u16string unit;
};

struct MathProgram {
  MathDefinition definition;
  std::string expression;              // operands replaced by variables
  std::vector<std::string> variables;  // one per operand
  std::vector<std::u16string> operands;
  // Whether the expression only adds and subtracts, so that operands of
  // one quantity give a result of that quantity.
  bool keepsQuantity = false;
};

// Reads a JSON list of definitions; false with `message` set when the text
// is no such list. Entries without a name or expression are skipped with a
// message naming them.
bool ParseDefinitions(const std::string& json, std::vector<MathDefinition>* definitions,
                      std::vector<std::u16string>* messages);

// Makes a program of a definition; false with a message naming the
// definition when the expression does not parse.
bool Compile(const MathDefinition& definition, MathProgram* program, std::u16string* message);

}  // namespace velmar::math
