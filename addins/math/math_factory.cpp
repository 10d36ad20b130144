#include "math_factory.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "math_evaluator.h"
#include "outing/blocks/channel_iterator.h"
#include "velmar/channel_key.h"
#include "velmar/text.h"

namespace velmar::math {
namespace {

// The parent's listed name of an operand: the listed text itself, else the
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

KivResult CMathChannelFactory::Offers(std::map<std::u16string, Offer>* offers, std::vector<std::u16string>* messages) {
  auto source = QueryAs<IKivChannelFactory>(parent_.Get());
  if (!source) return E_UNEXPECTED;
  NameList listed;
  if (KivResult r = source->GetNames(&listed); Failed(r)) return r;
  for (const MathProgram& program : programs_) {
    Offer offer{&program, {}};
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

KivResult CMathChannelFactory::GetNames(NameList* names) {
  if (!names) return E_POINTER;
  names->clear();
  std::map<std::u16string, Offer> offers;
  if (KivResult r = Offers(&offers, nullptr); Failed(r)) return r;
  for (const auto& [name, offer] : offers) names->push_back(name);
  return S_OK;
}

KivResult CMathChannelFactory::GetItem(const std::u16string& name, IKivChannel** channel) {
  if (!channel) return E_POINTER;
  *channel = nullptr;
  std::map<std::u16string, Offer> offers;
  if (KivResult r = Offers(&offers, nullptr); Failed(r)) return r;
  auto it = offers.find(name);
  if (it == offers.end()) {
    it = std::find_if(offers.begin(), offers.end(), [&](const auto& o) { return ChannelDisplayName(o.first) == name; });
  }
  if (it == offers.end()) return E_INVALIDARG;
  ComPtr<IKivChannel> made = MakeKiv<CMathChannel>(it->first, *it->second.program, it->second.keys,
                                                   QueryAs<IKivChannelFactory>(parent_.Get()));
  *channel = made.Detach();
  return S_OK;
}

KivResult CMathChannelFactory::GetParent(IKivUnknown** parent) {
  if (!parent) return E_POINTER;
  *parent = nullptr;
  return parent_ ? parent_.CopyTo(parent) : E_UNEXPECTED;
}

KivResult CMathChannelFactory::SetParent(IKivUnknown* parent) {
  if ((parent == nullptr) == (parent_ == nullptr)) return E_INVALIDARG;
  parent_ = parent;
  return S_OK;
}

KivResult CMathChannelFactory::GetRoot(IKivUnknown** root) {
  if (!root) return E_POINTER;
  return root_.CopyTo(root);
}

KivResult CMathChannelFactory::SetRoot(IKivUnknown* root) {
  if (root_) return E_UNEXPECTED;
  root_ = root;
  return S_OK;
}

KivResult CMathChannelFactory::GetIcon(int32_t, int32_t, IKivUnknown** picture) {
  if (!picture) return E_POINTER;
  *picture = nullptr;
  return E_FAIL;
}

KivResult CMathChannelFactory::SetDefinitions(const std::u16string& json) {
  std::vector<MathDefinition> definitions;
  std::vector<std::u16string> messages;
  if (!ParseDefinitions(WideToUtf8(json), &definitions, &messages)) return E_INVALIDARG;
  std::vector<MathProgram> programs;
  for (const MathDefinition& definition : definitions) {
    MathProgram program;
    std::u16string message;
    if (Compile(definition, &program, &message)) {
      programs.push_back(std::move(program));
    } else {
      messages.push_back(std::move(message));
    }
  }
  programs_ = std::move(programs);
  definitionMessages_ = std::move(messages);
  dirty_ = definitionsText_ != json || dirty_;
  definitionsText_ = json;
  return S_OK;
}

KivResult CMathChannelFactory::LoadDefinitions(const std::u16string& path) {
  std::ifstream in(WideToUtf8(path), std::ios::binary);
  if (!in) return STG_E_FILENOTFOUND;
  std::stringstream text;
  text << in.rdbuf();
  return SetDefinitions(Utf8ToWide(text.str()));
}

KivResult CMathChannelFactory::GetMessages(std::vector<std::u16string>* messages) {
  if (!messages) return E_POINTER;
  *messages = definitionMessages_;
  std::map<std::u16string, Offer> offers;
  if (parent_) (void)Offers(&offers, messages);
  return S_OK;
}

KivResult CMathChannelFactory::GetUnit(const std::u16string& name, std::u16string* unit) {
  if (!unit) return E_POINTER;
  for (const MathProgram& program : programs_) {
    if (program.definition.name == name || program.definition.name == ChannelDisplayName(name)) {
      *unit = program.definition.unit;
      return S_OK;
    }
  }
  return E_INVALIDARG;
}

}  // namespace velmar::math
