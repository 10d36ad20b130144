// Evaluates a math program over its operands' data: on the first operand's
// samples, block by block, the other operands interpolated onto those times
// (a value between two samples of one block, none before the first or after
// the last, as a channel walk reads it). The expression runs as vectorised
// steps over chunks of each block (math_block_program.h), or through
// muparser's bulk mode where those don't reach; a result that is not a
// finite number is NaN.
#pragma once

#include <span>

#include "math_program.h"
#include "outing/blocks/data_blocks.h"
#include "velmar/data_block.h"

namespace velmar::math {

// `operands` as many as the program's, in its order. E_FAIL when an
// operand's blocks cannot be read or the expression fails to evaluate.
[[nodiscard]] KivResult Evaluate(const MathProgram& program, std::span<IKivChannelIterator* const> operands,
                                 DataBlockList* blocks);

}  // namespace velmar::math
