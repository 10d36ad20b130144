#include "math_evaluator.h"

#include <muParser.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "outing/blocks/data_block_aperiodic.h"
#include "outing/blocks/data_block_section.h"
#include "math_block_program.h"
#include "outing/blocks/fast_iterator.h"

namespace velmar::math {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// One block's samples as the evaluation needs them: values in place, and
// the times only when something asks for them.
struct Block {
  ComPtr<IKivDataBlock> block;
  std::span<const double> values;
  KivTime start = 0;
  KivTime interval = 0;  // 0: aperiodic
  bool continuous = false;
  std::vector<KivTime> times;

  KivResult Read(IKivDataBlocks* blocks, uint32_t index) {
    KivBool periodic = KIV_FALSE, cont = KIV_FALSE;
    if (KivResult r = blocks->GetBlock(index, block.Put()); Failed(r)) return r;
    if (KivResult r = block->GetValuesReference(&values); Failed(r)) return r;
    (void)block->GetPeriodic(&periodic);
    (void)block->GetContinuous(&cont);
    (void)block->GetStartTime(&start);
    if (FromKivBool(periodic)) (void)block->GetInterval(&interval);
    continuous = FromKivBool(cont);
    return S_OK;
  }
  std::span<const KivTime> Times() {
    if (times.empty() && !values.empty()) (void)block->GetTimes(&times);
    return times;
  }
  // Whether `other` has its samples at the same times.
  bool SameGrid(const Block& other) const {
    return interval > 0 && interval == other.interval && start == other.start && values.size() == other.values.size();
  }
};

// An operand's values on the base block's times: its own block when it has
// the same grid, else interpolated (NaN where it has no value).
class Operand {
 public:
  explicit Operand(IKivChannelIterator* iterator) {
    walk_.Attach(iterator);
    if (Failed(iterator->GetDataBlocks(blocks_.Put())) || Failed(blocks_->GetCount(&count_))) count_ = 0;
  }
  std::span<const double> On(Block& base, uint32_t index) {
    Block own;
    // Walks that interpolate must see every time in order, so the shortcut
    // is taken only while no walk has started.
    if (!walked_ && index <= count_ && Succeeded(own.Read(blocks_.Get(), index)) && base.SameGrid(own)) {
      held_ = own.block;
      return own.values;
    }
    walked_ = true;
    const std::span<const KivTime> times = base.Times();
    values_.assign(times.size(), kNaN);
    results_.resize(times.size());
    walk_.GetValues(times, values_, results_);
    for (size_t i = 0; i < times.size(); ++i) {
      if (results_[i] != CFastIterator::kValue) values_[i] = kNaN;
    }
    return values_;
  }

 private:
  CFastIterator walk_;
  ComPtr<IKivDataBlocks> blocks_;
  ComPtr<IKivDataBlock> held_;
  uint32_t count_ = 0;
  bool walked_ = false;
  std::vector<double> values_;
  std::vector<CFastIterator::Result> results_;
};

KivResult EvaluateColumns(mu::Parser& parser, const MathProgram& program,
                          std::span<const std::span<const double>> columns,
                          std::vector<double>* results) {
  const size_t n = columns.front().size();
  results->assign(n, kNaN);
  try {
    for (size_t k = 0; k < program.variables.size(); ++k) {
      // muparser reads its variables and never writes them.
      parser.DefineVar(program.variables[k], const_cast<double*>(columns[k].data()));
    }
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

KivResult AddBlock(Block& base, LockedArray<double> array, DataBlockList* blocks) {
  std::shared_ptr<const DataSection> section;
  const KivResult made =
      base.interval > 0
          ? DataSection::MakePeriodic(std::move(array), base.start, base.interval, &section)
          : DataSection::MakeAperiodic(std::move(array), LockedArray<KivTime>::Copy(base.Times()), &section);
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
  std::vector<Operand> others;
  others.reserve(operands.size() - 1);
  for (size_t k = 1; k < operands.size(); ++k) others.emplace_back(operands[k]);
  // muparser evaluates alone only what the vectorised steps do not know.
  BlockProgram steps;
  const bool vectorised = steps.Build(program);
  mu::Parser parser;
  std::vector<std::span<const double>> columns(operands.size());
  blocks->clear();
  for (uint32_t i = 1; i <= count; ++i) {
    Block base;
    if (Failed(base.Read(baseBlocks.Get(), i))) return E_FAIL;
    if (base.values.empty()) continue;
    columns[0] = base.values;
    for (size_t k = 0; k < others.size(); ++k) columns[k + 1] = others[k].On(base, i);
    LockedArray<double> results;
    if (vectorised) {
      results = LockedArray<double>::Uninitialized(base.values.size());
      steps.Run(columns, results.Writable());
    } else {
      std::vector<double> values;
      if (KivResult r = EvaluateColumns(parser, program, columns, &values); Failed(r)) return r;
      results = LockedArray<double>::FromVector(std::move(values));
    }
    if (KivResult r = AddBlock(base, std::move(results), blocks); Failed(r)) return r;
  }
  return S_OK;
}

}  // namespace velmar::math
