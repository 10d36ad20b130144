// What both math factories share: the definitions, and the channel factory
// over a source of operands. The root's factory reads its operands from its
// parent; the one it makes for a data selection from the selection's inputs
// (the channels ahead of it), so that listing it never reaches itself.
//
// Client thread only.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "math_program.h"
#include "outing/blocks/data_blocks.h"
#include "velmar/channel.h"
#include "velmar/data_factory.h"

namespace velmar::math {

class CMathSelectionChannels;

// The definitions of one root's math factory, shared with the factories it
// made for selections, which hear of each change.
struct MathDefinitions {
  std::vector<MathProgram> programs;
  std::vector<std::u16string> messages;  // of the definitions kept out
  std::u16string text;                   // as given
  std::vector<CMathSelectionChannels*> listeners;
};

// A defined channel over its operands: it reads them and evaluates on the
// first read. An operand still being fetched answers KIV_E_PENDING.
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

// The channels on offer over a source of operands, by listed name: each
// defined channel whose operands the source lists (by key or by plain
// name), with the messages of those left out.
struct MathOffer {
  const MathProgram* program;
  std::vector<std::u16string> keys;  // the source's names of the operands
};
using MathOffers = std::map<std::u16string, MathOffer>;
KivResult ListOffers(IKivChannelFactory* source, const std::vector<MathProgram>& programs, MathOffers* offers,
                     std::vector<std::u16string>* messages);
// The channel of a listed name (or of its plain name) over `source`.
KivResult MakeOffered(IKivChannelFactory* source, const std::vector<MathProgram>& programs,
                      const std::u16string& name, IKivChannel** channel);

// The IKivChannelFactory of a math factory, over the operands that
// Operands() gives, with the parent and root a data factory keeps.
template <class... Extra>
class CMathFactoryBase : public KivObject<IKivChannelFactory, Extra...> {
 public:
  KivResult GetNames(NameList* names) override {
    if (!names) return E_POINTER;
    names->clear();
    MathOffers offers;
    if (KivResult r = ListOffers(Operands().Get(), definitions_->programs, &offers, nullptr); Failed(r)) return r;
    for (const auto& [name, offer] : offers) names->push_back(name);
    return S_OK;
  }
  KivResult GetItem(const std::u16string& name, IKivChannel** channel) override {
    return MakeOffered(Operands().Get(), definitions_->programs, name, channel);
  }
  KivResult GetParent(IKivUnknown** parent) override { return Give(parent_, parent); }
  KivResult SetParent(IKivUnknown* parent) override {
    if ((parent == nullptr) == (parent_ == nullptr)) return E_INVALIDARG;
    parent_ = parent;
    return S_OK;
  }
  KivResult GetRoot(IKivUnknown** root) override { return Give(root_, root); }
  KivResult SetRoot(IKivUnknown* root) override {
    if (root_) return E_UNEXPECTED;
    root_ = root;
    return S_OK;
  }
  KivResult GetIcon(int32_t, int32_t, IKivUnknown** picture) override {
    if (!picture) return E_POINTER;
    *picture = nullptr;
    return E_FAIL;
  }

 protected:
  explicit CMathFactoryBase(std::shared_ptr<MathDefinitions> definitions) : definitions_(std::move(definitions)) {}
  // Where the operands come from; none answers E_UNEXPECTED.
  virtual ComPtr<IKivChannelFactory> Operands() = 0;

  std::shared_ptr<MathDefinitions> definitions_;
  ComPtr<IKivUnknown> parent_;
  ComPtr<IKivUnknown> root_;

 private:
  static KivResult Give(const ComPtr<IKivUnknown>& held, IKivUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return held ? held.CopyTo(out) : E_UNEXPECTED;
  }
};

}  // namespace velmar::math
