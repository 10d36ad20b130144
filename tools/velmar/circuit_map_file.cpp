#include "circuit_map_file.h"

#include <fstream>
#include <sstream>

#include "host_error.h"
#include "output.h"
#include "velmar/classes.h"
#include "velmar/circuit_map.h"
#include "velmar/class_registry.h"

namespace velmar::cli {

void UseCircuitMap(HostSession& session, const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) Fail(file, "cannot read the circuit map");
  std::ostringstream text;
  text << in.rdbuf();
  ComPtr<IKivCircuitMapJson> map;
  if (KivResult r = KivCreateInstance(CLSID_KivCircuitMap, IKivCircuitMapJson::iid, map.PutVoid()); Failed(r)) {
    Fail(file, "no circuit map can be made", r);
  }
  std::u16string error;
  if (Failed(map->LoadJson(text.str(), &error))) Fail(file, "circuit map refused: " + Utf8(error));
  auto data = map.As<IKivCircuitMapData>();
  if (KivResult r = session.root()->SetCircuitMapData(data.Get()); Failed(r)) {
    Fail(file, "the root refused the circuit map", r);
  }
}

}  // namespace velmar::cli
