// A math expression as a short list of operations over arrays: muparser
// parses it and makes its reverse-Polish bytecode, which is turned into
// steps that each run over a chunk of a few thousand samples at once (the
// operands read in place, the intermediate results in buffers that stay in
// cache), instead of muparser walking its bytecode once per sample.
//
// Bytecode this does not know (if-then-else, string and bulk functions,
// assignment) leaves the program empty; the caller then evaluates with
// muparser itself.
#pragma once

#include <muParser.h>

#include <cstddef>
#include <span>
#include <vector>

#include "math_program.h"

namespace velmar::math {

// A place on the evaluation stack: a chunk of an operand, a buffer of its
// own, or one value for all samples.
struct BlockProgramSlot {
  const double* values = nullptr;
  double scalar = 0;
  bool isScalar = false;
};

class BlockProgram {
 public:
  // False when the expression does not parse or uses bytecode this does
  // not know.
  bool Build(const MathProgram& program);
  // `columns` one per variable of the program, all of one length; `results`
  // as long. Values that are not finite numbers come out as NaN.
  void Run(std::span<const std::span<const double>> columns, std::span<double> results);

 private:
  enum class Op { kVariable, kConstant, kVariableScaled, kPower, kBinary, kFunction, kFunctionOfMany };
  struct Step {
    Op op;
    int code = 0;          // mu::ECmdCode of a binary operator; the power of kPower
    size_t operand = 0;    // the variable's index
    double value = 0;      // a constant; the factor of kVariableScaled
    double offset = 0;     // the addend of kVariableScaled
    int argc = 0;          // arguments of a function (negative: any number)
    mu::generic_callable_type function{};
  };
  using Slot = BlockProgramSlot;

  bool Add(const mu::SToken& token, const std::vector<double>& places, size_t* depth);
  void RunChunk(std::span<const std::span<const double>> columns, size_t from, size_t count, double* out);
  void Binary(int code, Slot& left, const Slot& right, double* into, size_t count);
  void Function(const Step& step, Slot* args, double* into, size_t count);

  std::vector<Step> steps_;
  size_t depth_ = 0;               // the deepest stack the steps reach
  std::vector<double> buffers_;    // one chunk per stack place
  std::vector<Slot> stack_;
};

}  // namespace velmar::math
