#include "math_evaluator.h"

#include <muParser.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "outing/blocks/data_block_aperiodic.h"
#include "outing/blocks/data_block_section.h"
#include "outing/blocks/fast_iterator.h"

namespace velmar::math {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct BaseBlock {
  std::vector<KivTime> times;
  std::vector<double> values;
  KivTime interval = 0;  // 0: aperiodic
  bool continuous = false;
};

KivResult ReadBlock(IKivDataBlock* block, BaseBlock* out) {
  KivBool periodic = KIV_FALSE, continuous = KIV_FALSE;
  if (KivResult r = block->GetTimes(&out->times); Failed(r)) return r;
  if (KivResult r = block->GetValues(&out->values); Failed(r)) return r;
  (void)block->GetPeriodic(&periodic);
  (void)block->GetContinuous(&continuous);
  if (FromKivBool(periodic)) (void)block->GetInterval(&out->interval);
  out->continuous = FromKivBool(continuous);
  return out->times.size() == out->values.size() ? S_OK : E_FAIL;
}

// The other operands' values at `times`; NaN where one has none.
void Interpolate(std::span<CFastIterator> walks, std::span<const KivTime> times,
                 std::vector<std::vector<double>>* columns) {
  std::vector<CFastIterator::Result> results(times.size());
  for (size_t k = 0; k < walks.size(); ++k) {
    std::vector<double>& column = (*columns)[k + 1];
    column.assign(times.size(), kNaN);
    walks[k].GetValues(times, column, results);
    for (size_t i = 0; i < times.size(); ++i) {
      if (results[i] != CFastIterator::kValue) column[i] = kNaN;
    }
  }
}

KivResult EvaluateColumns(mu::Parser& parser, const MathProgram& program, std::vector<std::vector<double>>& columns,
                          std::vector<double>* results) {
  const size_t n = columns.front().size();
  results->assign(n, kNaN);
  try {
    for (size_t k = 0; k < program.variables.size(); ++k) parser.DefineVar(program.variables[k], columns[k].data());
    parser.SetExpr(program.expression);
    parser.Eval(results->data(), static_cast<int>(n));
  } catch (const mu::Parser::exception_type&) {
    return E_FAIL;
  }
  for (double& v : *results) {
    if (!std::isfinite(v)) v = kNaN;
  }
  return S_OK;
}

KivResult AddBlock(BaseBlock& base, std::vector<double> values, DataBlockList* blocks) {
  std::shared_ptr<const DataSection> section;
  auto array = LockedArray<double>::FromVector(std::move(values));
  const KivResult made = base.interval > 0
                             ? DataSection::MakePeriodic(std::move(array), base.times.front(), base.interval, &section,
                                                         base.times.back())
                             : DataSection::MakeAperiodic(std::move(array),
                                                          LockedArray<KivTime>::FromVector(std::move(base.times)),
                                                          &section);
  if (Failed(made)) return made;
  ComPtr<IKivDataBlockImplBase> block;
  const auto index = static_cast<uint32_t>(blocks->size());
  if (KivResult r = MakeOutingDataBlock(std::move(section), index, 0, base.continuous, &block); Failed(r)) return r;
  blocks->push_back(std::move(block));
  return S_OK;
}

}  // namespace

KivResult Evaluate(const MathProgram& program, std::span<IKivChannelIterator* const> operands,
                   DataBlockList* blocks) {
  if (operands.size() != program.variables.size() || operands.empty()) return E_INVALIDARG;
  ComPtr<IKivDataBlocks> baseBlocks;
  uint32_t count = 0;
  if (Failed(operands[0]->GetDataBlocks(baseBlocks.Put())) || Failed(baseBlocks->GetCount(&count))) return E_FAIL;
  std::vector<CFastIterator> walks(operands.size() - 1);
  for (size_t k = 1; k < operands.size(); ++k) walks[k - 1].Attach(operands[k]);
  mu::Parser parser;
  std::vector<std::vector<double>> columns(operands.size());
  blocks->clear();
  for (uint32_t i = 1; i <= count; ++i) {
    ComPtr<IKivDataBlock> block;
    BaseBlock base;
    if (Failed(baseBlocks->GetBlock(i, block.Put())) || Failed(ReadBlock(block.Get(), &base))) return E_FAIL;
    if (base.times.empty()) continue;
    Interpolate(walks, base.times, &columns);
    columns[0] = std::move(base.values);
    std::vector<double> results;
    if (KivResult r = EvaluateColumns(parser, program, columns, &results); Failed(r)) return r;
    if (KivResult r = AddBlock(base, std::move(results), blocks); Failed(r)) return r;
  }
  return S_OK;
}

}  // namespace velmar::math
