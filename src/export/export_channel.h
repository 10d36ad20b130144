// CExportChannel: one channel's samples over [start, end], copied out of its
// source at the native rate or resampled onto an absolute grid, and scaled
// to the destination's unit (value x factor + offset).
//
// Made and started on the client thread. When the source's data is not
// there yet the item holds the channel, locks its data in memory and waits
// for its change notification; once in (or failed) it lets go of the source
// and leaves its waiter. Client thread only.
#pragma once

#include <map>
#include <vector>

#include "export/export_grid.h"
#include "export/export_source_item.h"
#include "outing/blocks/data_block.h"
#include "velmar/channel.h"
#include "velmar/units.h"
#include "velmar/variant.h"

namespace velmar {

class CExportChannel final : public CExportSourceItem {
 public:
  // `period` 0 for the native rate; the caller keeps it within the limits.
  // `base` is taken off every time copied. The item starts at once: its
  // state tells how it went.
  CExportChannel(std::u16string name, KivTime start, KivTime end, IKivChannel* channel, double factor,
                 double offset, KivTime base, KivTime period, ComPtr<IKivUnits> converter = nullptr);

  const std::u16string& GetName() const override { return name_; }
  // The collected blocks, times less `base`, values in the destination's unit.
  const std::vector<ComPtr<IKivDataBlockImplBase>>& blocks() const { return blocks_; }
  // The range asked for; a resampled item's first and last grid time written.
  KivTime start() const { return start_; }
  KivTime end() const { return end_; }
  KivTime period() const { return period_; }
  bool resampled() const { return period_ != 0; }
  double factor() const { return factor_; }
  double offset() const { return offset_; }
  IKivUnits* converter() const { return converter_.Get(); }

  // The source channel's properties, less "Filter"; filled by the caller.
  std::map<std::u16string, Variant> properties;

 private:
  KivResult Fetch() override;
  KivResult CollectNative(IKivChannelIterator2* iterator, IKivDataBlocks* blocks, uint32_t count);
  KivResult CopyWindow(IKivDataBlock* block, const BlockShape& shape, const SampleWindow& window);
  // A whole source block taken unscaled: a block over the source's own
  // section, no copy. S_FALSE when the block must be copied.
  KivResult ShareBlock(IKivDataBlock* block, const BlockShape& shape);
  KivResult Resample(IKivChannelIterator2* iterator, IKivDataBlocks* blocks, uint32_t count);
  // Adds a block of the item over `section`.
  KivResult AddBlock(std::vector<double> values, KivTime first, KivTime interval, std::vector<KivTime> times,
                     bool continuous);
  void Scale(std::span<double> values) const;

  std::u16string name_;
  KivTime start_;
  KivTime end_;
  double factor_;
  double offset_;
  KivTime base_;
  KivTime period_;
  ComPtr<IKivUnits> converter_;
  std::vector<ComPtr<IKivDataBlockImplBase>> blocks_;
};

// The shape of a client's block for the window selection; E_FAIL when a
// read fails. `times` keeps an aperiodic block's time array.
KivResult ReadBlockShape(IKivDataBlock* block, BlockShape* shape);

}  // namespace velmar
