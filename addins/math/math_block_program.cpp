#include "math_block_program.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velmar::math {
namespace {

constexpr size_t kChunk = 2048;

// A result may be written over its left operand (the same index only), so
// no iteration depends on another: let the compiler vectorise without
// checking for overlap.
#if defined(__GNUC__) && !defined(__clang__)
#define VELMAR_EACH_SAMPLE _Pragma("GCC ivdep")
#else
#define VELMAR_EACH_SAMPLE
#endif
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// The element-wise loop of one binary operator; the compiler vectorises it.
template <class Fn>
void Each(const BlockProgramSlot& left, const BlockProgramSlot& right, double* into, size_t count, Fn fn) {
  if (left.isScalar && right.isScalar) {
    std::fill_n(into, count, fn(left.scalar, right.scalar));
  } else if (left.isScalar) {
    const double a = left.scalar;
    const double* b = right.values;
    VELMAR_EACH_SAMPLE
    for (size_t i = 0; i < count; ++i) into[i] = fn(a, b[i]);
  } else if (right.isScalar) {
    const double* a = left.values;
    const double b = right.scalar;
    VELMAR_EACH_SAMPLE
    for (size_t i = 0; i < count; ++i) into[i] = fn(a[i], b);
  } else {
    const double* a = left.values;
    const double* b = right.values;
    VELMAR_EACH_SAMPLE
    for (size_t i = 0; i < count; ++i) into[i] = fn(a[i], b[i]);
  }
}

double Pow(double a, double b) { return std::pow(a, b); }

}  // namespace

bool BlockProgram::Build(const MathProgram& program) {
  steps_.clear();
  depth_ = 0;
  std::vector<double> places(program.variables.size());
  try {
    mu::Parser parser;
    for (size_t k = 0; k < places.size(); ++k) parser.DefineVar(program.variables[k], &places[k]);
    parser.SetExpr(program.expression);
    (void)parser.Eval();  // makes the bytecode
    if (parser.GetNumResults() != 1) return false;
    const mu::ParserByteCode& code = parser.GetByteCode();
    const mu::SToken* token = code.GetBase();
    size_t depth = 0;
    for (; token->Cmd != mu::cmEND; ++token) {
      if (!Add(*token, places, &depth)) return false;
      depth_ = std::max(depth_, depth);
    }
    if (depth != 1) return false;
  } catch (const mu::Parser::exception_type&) {
    return false;
  }
  buffers_.assign(depth_ * kChunk, 0.0);
  stack_.assign(depth_, Slot{});
  return true;
}

bool BlockProgram::Add(const mu::SToken& token, const std::vector<double>& places, size_t* depth) {
  Step step;
  auto variable = [&](Op op, int power) {
    const auto at = static_cast<size_t>(token.Val.ptr - places.data());
    if (token.Val.ptr < places.data() || at >= places.size()) return false;
    step.op = op;
    step.operand = at;
    step.code = power;
    step.value = token.Val.data;
    step.offset = token.Val.data2;
    ++*depth;
    return true;
  };
  switch (token.Cmd) {
    case mu::cmVAR:
      if (!variable(Op::kVariable, 1)) return false;
      break;
    case mu::cmVARMUL:
      if (!variable(Op::kVariableScaled, 1)) return false;
      break;
    case mu::cmVARPOW2:
    case mu::cmVARPOW3:
    case mu::cmVARPOW4:
      if (!variable(Op::kPower, 2 + (token.Cmd - mu::cmVARPOW2))) return false;
      break;
    case mu::cmVAL:
      step.op = Op::kConstant;
      step.value = token.Val.data2;
      ++*depth;
      break;
    case mu::cmLE: case mu::cmGE: case mu::cmNEQ: case mu::cmEQ: case mu::cmLT: case mu::cmGT:
    case mu::cmADD: case mu::cmSUB: case mu::cmMUL: case mu::cmDIV: case mu::cmPOW: case mu::cmLAND:
    case mu::cmLOR:
      if (*depth < 2) return false;
      step.op = Op::kBinary;
      step.code = token.Cmd;
      --*depth;
      break;
    case mu::cmFUNC: {
      const int argc = token.Fun.argc;
      const size_t used = static_cast<size_t>(argc < 0 ? -argc : argc);
      if (used > 3 || *depth < used) return false;
      step.op = argc < 0 ? Op::kFunctionOfMany : Op::kFunction;
      step.argc = argc;
      step.function = token.Fun.cb;
      *depth = *depth - used + 1;
      break;
    }
    default:
      return false;  // if-then-else, strings, bulk functions, assignment
  }
  steps_.push_back(step);
  return true;
}

void BlockProgram::Run(std::span<const std::span<const double>> columns, std::span<double> results) {
  for (size_t from = 0; from < results.size(); from += kChunk) {
    const size_t count = std::min(kChunk, results.size() - from);
    double* out = results.data() + from;
    RunChunk(columns, from, count, out);
    for (size_t i = 0; i < count; ++i) out[i] = std::isfinite(out[i]) ? out[i] : kNaN;
  }
}

void BlockProgram::RunChunk(std::span<const std::span<const double>> columns, size_t from, size_t count,
                            double* out) {
  size_t top = 0;  // places in use
  for (const Step& step : steps_) {
    // The last step writes the result in place; the others, their place's buffer.
    double* own = &step == &steps_.back() ? out : buffers_.data() + (step.op == Op::kBinary ? top - 2 : top) * kChunk;
    switch (step.op) {
      case Op::kVariable:
        stack_[top++] = Slot{columns[step.operand].data() + from, 0, false};
        break;
      case Op::kConstant:
        stack_[top++] = Slot{nullptr, step.value, true};
        break;
      case Op::kVariableScaled:
      case Op::kPower: {
        const double* v = columns[step.operand].data() + from;
        if (step.op == Op::kVariableScaled) {
          VELMAR_EACH_SAMPLE
          for (size_t i = 0; i < count; ++i) own[i] = v[i] * step.value + step.offset;
        } else {
          for (size_t i = 0; i < count; ++i) {
            double p = v[i];
            for (int k = 1; k < step.code; ++k) p *= v[i];
            own[i] = p;
          }
        }
        stack_[top++] = Slot{own, 0, false};
        break;
      }
      case Op::kBinary:
        Binary(step.code, stack_[top - 2], stack_[top - 1], own, count);
        --top;
        break;
      case Op::kFunction:
      case Op::kFunctionOfMany: {
        const size_t used = static_cast<size_t>(step.argc < 0 ? -step.argc : step.argc);
        top -= used;
        Function(step, stack_.data() + top, own == out ? out : buffers_.data() + top * kChunk, count);
        ++top;
        break;
      }
    }
  }
  const Slot& result = stack_[0];
  if (result.isScalar) {
    std::fill_n(out, count, result.scalar);
  } else if (result.values != out) {
    std::copy_n(result.values, count, out);  // a lone operand
  }
}

void BlockProgram::Binary(int code, Slot& left, const Slot& right, double* into, size_t count) {
  switch (code) {
    case mu::cmADD: Each(left, right, into, count, [](double a, double b) { return a + b; }); break;
    case mu::cmSUB: Each(left, right, into, count, [](double a, double b) { return a - b; }); break;
    case mu::cmMUL: Each(left, right, into, count, [](double a, double b) { return a * b; }); break;
    case mu::cmDIV: Each(left, right, into, count, [](double a, double b) { return a / b; }); break;
    case mu::cmPOW: Each(left, right, into, count, Pow); break;
    case mu::cmLE: Each(left, right, into, count, [](double a, double b) { return double(a <= b); }); break;
    case mu::cmGE: Each(left, right, into, count, [](double a, double b) { return double(a >= b); }); break;
    case mu::cmNEQ: Each(left, right, into, count, [](double a, double b) { return double(a != b); }); break;
    case mu::cmEQ: Each(left, right, into, count, [](double a, double b) { return double(a == b); }); break;
    case mu::cmLT: Each(left, right, into, count, [](double a, double b) { return double(a < b); }); break;
    case mu::cmGT: Each(left, right, into, count, [](double a, double b) { return double(a > b); }); break;
    case mu::cmLAND: Each(left, right, into, count, [](double a, double b) { return double(a && b); }); break;
    default: Each(left, right, into, count, [](double a, double b) { return double(a || b); }); break;
  }
  left = Slot{into, 0, false};
}

void BlockProgram::Function(const Step& step, Slot* args, double* into, size_t count) {
  const size_t used = static_cast<size_t>(step.argc < 0 ? -step.argc : step.argc);
  double values[3] = {};
  for (size_t i = 0; i < count; ++i) {
    for (size_t k = 0; k < used; ++k) values[k] = args[k].isScalar ? args[k].scalar : args[k].values[i];
    if (step.argc < 0) {
      into[i] = step.function.call_multfun(values, static_cast<int>(used));
    } else if (used == 0) {
      into[i] = step.function.call_fun<0>();
    } else if (used == 1) {
      into[i] = step.function.call_fun<1>(values[0]);
    } else if (used == 2) {
      into[i] = step.function.call_fun<2>(values[0], values[1]);
    } else {
      into[i] = step.function.call_fun<3>(values[0], values[1], values[2]);
    }
  }
  args[0] = Slot{into, 0, false};
}

}  // namespace velmar::math
