#include "math_factory.h"

#include <fstream>
#include <sstream>

#include "math_selection_channels.h"
#include "velmar/channel_key.h"
#include "velmar/text.h"

namespace velmar::math {

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
  MathDefinitions& held = *definitions_;
  held.programs = std::move(programs);
  held.messages = std::move(messages);
  dirty_ = held.text != json || dirty_;
  held.text = json;
  // Every selection's factory lists anew. A copy: a listener may go meanwhile.
  std::vector<ComPtr<CMathSelectionChannels>> listeners(held.listeners.begin(), held.listeners.end());
  for (const auto& listener : listeners) (void)listener->OnInputsChanged();
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
  *messages = definitions_->messages;
  MathOffers offers;
  if (auto operands = Operands()) (void)ListOffers(operands.Get(), definitions_->programs, &offers, messages);
  return S_OK;
}

KivResult CMathChannelFactory::GetUnit(const std::u16string& name, std::u16string* unit) {
  if (!unit) return E_POINTER;
  for (const MathProgram& program : definitions_->programs) {
    if (program.definition.name == name || program.definition.name == ChannelDisplayName(name)) {
      *unit = program.definition.unit;
      return S_OK;
    }
  }
  return E_INVALIDARG;
}

KivResult CMathChannelFactory::CreateForSelection(IKivUnknown* selection, IKivChannelFactory* channels,
                                                  IKivEventsFactory*, IKivUnknown** factory) {
  if (!selection || !channels || !factory) return E_POINTER;
  auto made = MakeKiv<CMathSelectionChannels>(definitions_, ComPtr<IKivChannelFactory>(channels));
  if (root_) (void)made->SetRoot(root_.Get());
  *factory = made->PrimaryUnknown();
  (*factory)->AddRef();
  return S_OK;
}

}  // namespace velmar::math
