#include "math_channels_base.h"

#include <algorithm>

#include "math_evaluator.h"
#include "outing/blocks/channel_iterator.h"
#include "velmar/channel_key.h"

namespace velmar::math {
namespace {

// The source's listed name of an operand: the listed text itself, else the
// first listed channel of that plain name.
const std::u16string* FindListed(const NameList& listed, const std::u16string& operand) {
  for (const std::u16string& name : listed) {
    if (name == operand) return &name;
  }
  for (const std::u16string& name : listed) {
    if (ChannelDisplayName(name) == operand) return &name;
  }
  return nullptr;
}

// The listed name of a math channel: under its operands' quantity when the
// expression keeps it and they share one, else its plain name.
std::u16string ListedName(const MathProgram& program, const std::vector<std::u16string>& keys) {
  CChannelKey first;
  if (!program.keepsQuantity || !CChannelKey::Parse(keys.front(), &first)) return program.definition.name;
  for (const std::u16string& key : keys) {
    CChannelKey other;
    if (!CChannelKey::Parse(key, &other) || other.id() != first.id()) return program.definition.name;
  }
  return CChannelKey(program.definition.name, first.id()).text();
}

}  // namespace

KivResult CMathChannel::GetName(std::u16string* name) {
  if (!name) return E_POINTER;
  *name = name_;
  return S_OK;
}

KivResult CMathChannel::GetStatus(uint32_t* status) {
  if (!status) return E_POINTER;
  *status = static_cast<uint32_t>(status_);
  return S_OK;
}

KivResult CMathChannel::Compute() {
  std::vector<ComPtr<IKivChannelIterator2>> iterators(keys_.size());
  std::vector<IKivChannelIterator*> operands;
  bool pending = false;
  for (size_t k = 0; k < keys_.size(); ++k) {
    ComPtr<IKivChannel> channel;
    if (KivResult r = source_->GetItem(keys_[k], channel.Put()); Failed(r)) return r;
    const KivResult r = channel->GetIterator(iterators[k].Put());
    if (r == KIV_E_PENDING) {
      pending = true;  // ask every operand, so that all are fetched at once
      continue;
    }
    if (Failed(r)) return r;
    operands.push_back(iterators[k].Get());
  }
  if (pending) return KIV_E_PENDING;
  auto blocks = std::make_shared<DataBlockList>();
  if (KivResult r = Evaluate(program_, operands, blocks.get()); Failed(r)) return r;
  blocks_ = std::move(blocks);
  return S_OK;
}

KivResult CMathChannel::GetIterator(IKivChannelIterator2** iterator) {
  if (!iterator) return E_POINTER;
  *iterator = nullptr;
  if (!blocks_) {
    const KivResult r = Compute();
    status_ = r == KIV_E_PENDING ? DataStatus::kPending
              : Failed(r)        ? DataStatus::kNotAvailable
                                 : DataStatus::kAvailable;
    if (Failed(r)) return r;
  }
  ComPtr<IKivChannelIterator2> made = MakeKiv<CChannelIterator>(blocks_, ComPtr<IKivUnknown>(this), nullptr);
  *iterator = made.Detach();
  return S_OK;
}

KivResult ListOffers(IKivChannelFactory* source, const std::vector<MathProgram>& programs, MathOffers* offers,
                     std::vector<std::u16string>* messages) {
  if (!source) return E_UNEXPECTED;
  NameList listed;
  if (KivResult r = source->GetNames(&listed); Failed(r)) return r;
  for (const MathProgram& program : programs) {
    MathOffer offer{&program, {}};
    for (const std::u16string& operand : program.operands) {
      const std::u16string* key = FindListed(listed, operand);
      if (!key) {
        if (messages) {
          messages->push_back(u"Math channel \"" + program.definition.name + u"\": no channel \"" + operand + u"\"");
        }
        break;
      }
      offer.keys.push_back(*key);
    }
    if (offer.keys.size() == program.operands.size()) offers->emplace(ListedName(program, offer.keys), offer);
  }
  return S_OK;
}

KivResult MakeOffered(IKivChannelFactory* source, const std::vector<MathProgram>& programs,
                      const std::u16string& name, IKivChannel** channel) {
  if (!channel) return E_POINTER;
  *channel = nullptr;
  MathOffers offers;
  if (KivResult r = ListOffers(source, programs, &offers, nullptr); Failed(r)) return r;
  auto it = offers.find(name);
  if (it == offers.end()) {
    it = std::find_if(offers.begin(), offers.end(), [&](const auto& o) { return ChannelDisplayName(o.first) == name; });
  }
  if (it == offers.end()) return E_INVALIDARG;
  ComPtr<IKivChannel> made = MakeKiv<CMathChannel>(it->first, *it->second.program, it->second.keys, ComPtr<IKivChannelFactory>(source));
  *channel = made.Detach();
  return S_OK;
}

}  // namespace velmar::math
