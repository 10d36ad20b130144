// The math channels data factory and its channels. Given a parent that
// offers channels, it lists each defined channel whose operands the parent
// lists (by key or by plain name) and hands out a channel that reads the
// operands and evaluates on the first read. A channel whose operand is
// still being fetched answers KIV_E_PENDING, as the operand does.
//
// Client thread only.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "math_program.h"
#include "outing/blocks/data_blocks.h"
#include "velmar/channel.h"
#include "velmar/data_factory.h"
#include "velmar/math_channels.h"
#include "velmar/persist.h"
#include "velmar/storage.h"

namespace velmar::math {

class CMathChannel final : public KivObject<IKivChannel> {
 public:
  CMathChannel(std::u16string name, MathProgram program, std::vector<std::u16string> operandKeys,
               ComPtr<IKivChannelFactory> source)
      : name_(std::move(name)), program_(std::move(program)), keys_(std::move(operandKeys)),
        source_(std::move(source)) {}

  KivResult GetName(std::u16string* name) override;
  KivResult GetStatus(uint32_t* status) override;
  KivResult GetIterator(IKivChannelIterator2** iterator) override;

 private:
  KivResult Compute();

  std::u16string name_;
  MathProgram program_;
  std::vector<std::u16string> keys_;
  ComPtr<IKivChannelFactory> source_;
  std::shared_ptr<const DataBlockList> blocks_;  // null until computed
  DataStatus status_ = DataStatus::kUnknown;
};

// The definitions persist in the factory's storage of the settings file, as
// the JSON text they were given in, in the stream "Definitions".
class CMathChannelFactory final
    : public KivObject<IKivChannelFactory, IKivMathChannelDefinitions, IKivPersistStorage> {
 public:
  // IKivDataFactory
  KivResult GetNames(NameList* names) override;
  KivResult GetParent(IKivUnknown** parent) override;
  KivResult SetParent(IKivUnknown* parent) override;
  KivResult GetRoot(IKivUnknown** root) override;
  KivResult SetRoot(IKivUnknown* root) override;
  KivResult GetIcon(int32_t index, int32_t size, IKivUnknown** picture) override;
  KivResult GetItem(const std::u16string& name, IKivChannel** channel) override;
  // IKivMathChannelDefinitions
  KivResult SetDefinitions(const std::u16string& json) override;
  KivResult LoadDefinitions(const std::u16string& path) override;
  KivResult GetMessages(std::vector<std::u16string>* messages) override;
  KivResult GetUnit(const std::u16string& name, std::u16string* unit) override;
  // IKivPersistStorage
  KivResult GetClassId(Guid* clsid) override;
  KivResult IsDirty() override { return dirty_ ? S_OK : S_FALSE; }
  KivResult InitNew(IKivStorage* storage) override;
  KivResult Load(IKivStorage* storage) override;
  KivResult Save(IKivStorage* storage, KivBool sameAsLoad) override;
  KivResult SaveCompleted(IKivStorage* storage) override;
  KivResult HandsOffStorage() override;

 private:
  struct Offer {
    const MathProgram* program;
    std::vector<std::u16string> keys;  // the parent's names of the operands
  };
  // The channels on offer by listed name, with the messages of those left out.
  KivResult Offers(std::map<std::u16string, Offer>* offers, std::vector<std::u16string>* messages);

  ComPtr<IKivUnknown> parent_;
  ComPtr<IKivUnknown> root_;
  std::vector<MathProgram> programs_;
  std::vector<std::u16string> definitionMessages_;
  std::u16string definitionsText_;
  ComPtr<IKivStorage> storage_;
  bool dirty_ = false;
};

}  // namespace velmar::math
