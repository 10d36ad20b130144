#include "platform/storage/cfb_codec.h"

#include <gsf/gsf.h>

#include <cstring>
#include <mutex>

#include "velmar/text.h"

namespace velmar {
namespace {

constexpr int kMaxDepth = 256;
constexpr size_t kHeaderSize = 512;
constexpr unsigned char kSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};

struct GObjectUnref {
  void operator()(void* p) const {
    if (p) g_object_unref(p);
  }
};
template <class T>
using GPtr = std::unique_ptr<T, GObjectUnref>;

void IgnoreLog(const gchar*, GLogLevelFlags, const gchar*, gpointer) {}

void InitGsf() {
  static std::once_flag once;
  std::call_once(once, [] {
    gsf_init();
    // Damaged files are answered with a result code; libgsf's own
    // complaints about them would only clutter the host's output.
    g_log_set_handler("libgsf:msole",
                      static_cast<GLogLevelFlags>(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL |
                                                  G_LOG_LEVEL_MESSAGE | G_LOG_LEVEL_INFO |
                                                  G_LOG_LEVEL_DEBUG),
                      IgnoreLog, nullptr);
  });
}

uint16_t Le16(std::string_view b, size_t at) {
  return static_cast<uint16_t>(static_cast<uint8_t>(b[at]) | static_cast<uint8_t>(b[at + 1]) << 8);
}
uint32_t Le32(std::string_view b, size_t at) {
  return uint32_t{Le16(b, at)} | uint32_t{Le16(b, at + 2)} << 16;
}

// The fixed fields of the header that the format allows one value for
// (or two, for the sector size). libgsf trusts some of them for sizes of
// its buffers, so damaged ones must not reach it.
bool HeaderIsSane(std::string_view b) {
  if (b.size() < kHeaderSize || !HasCompoundFileSignature(b)) return false;
  uint16_t major = Le16(b, 0x1A), byte_order = Le16(b, 0x1C);
  uint16_t sector_shift = Le16(b, 0x1E), mini_shift = Le16(b, 0x20);
  uint32_t mini_cutoff = Le32(b, 0x38);
  if (byte_order != 0xFFFE || mini_shift != 6 || mini_cutoff != 4096) return false;
  return (major == 3 && sector_shift == 9) || (major == 4 && sector_shift == 12);
}

void GuidToBytes(const Guid& g, guint8 out[16]) {
  for (int i = 0; i < 4; ++i) out[i] = static_cast<guint8>(g.data1 >> (8 * i));
  for (int i = 0; i < 2; ++i) out[4 + i] = static_cast<guint8>(g.data2 >> (8 * i));
  for (int i = 0; i < 2; ++i) out[6 + i] = static_cast<guint8>(g.data3 >> (8 * i));
  std::memcpy(out + 8, g.data4.data(), 8);
}

Guid GuidFromBytes(const guint8 in[16]) {
  Guid g;
  for (int i = 3; i >= 0; --i) g.data1 = (g.data1 << 8) | in[i];
  g.data2 = static_cast<uint16_t>(in[4] | in[5] << 8);
  g.data3 = static_cast<uint16_t>(in[6] | in[7] << 8);
  std::memcpy(g.data4.data(), in + 8, 8);
  return g;
}

Guid ClassOf(GsfInfile* dir) {
  guint8 raw[16] = {};
  if (!gsf_infile_msole_get_class_id(GSF_INFILE_MSOLE(dir), raw)) return GUID_NULL;
  return GuidFromBytes(raw);
}

KivResult ReadStream(GsfInput* in, uint64_t file_size, std::string* out) {
  gsf_off_t size = gsf_input_size(in);
  // Streams are stored uncompressed: one larger than the file is a lie.
  if (size < 0 || static_cast<uint64_t>(size) > file_size) return STG_E_DOCFILECORRUPT;
  out->resize(static_cast<size_t>(size));
  if (size > 0 &&
      !gsf_input_read(in, static_cast<size_t>(size), reinterpret_cast<guint8*>(out->data())))
    return STG_E_DOCFILECORRUPT;
  return S_OK;
}

KivResult ReadDir(GsfInfile* dir, StorageNode* node, uint64_t file_size, int depth) {
  if (depth > kMaxDepth) return STG_E_DOCFILECORRUPT;
  int n = gsf_infile_num_children(dir);
  if (n < 0) return STG_E_DOCFILECORRUPT;
  for (int i = 0; i < n; ++i) {
    const char* raw_name = gsf_infile_name_by_index(dir, i);
    GPtr<GsfInput> child(gsf_infile_child_by_index(dir, i));
    if (!raw_name || !child) return STG_E_DOCFILECORRUPT;
    std::u16string name = Utf8ToWide(raw_name);
    if (node->Find(name)) return STG_E_DOCFILECORRUPT;  // two elements of one name
    std::shared_ptr<StorageNode> element;
    GsfInfile* child_dir = GSF_IS_INFILE(child.get()) ? GSF_INFILE(child.get()) : nullptr;
    if (child_dir && gsf_infile_num_children(child_dir) >= 0) {
      element = StorageNode::NewStorage(name);
      element->clsid = ClassOf(child_dir);
      KivResult r = ReadDir(child_dir, element.get(), file_size, depth + 1);
      if (Failed(r)) return r;
    } else {
      std::string bytes;
      KivResult r = ReadStream(child.get(), file_size, &bytes);
      if (Failed(r)) return r;
      element = StorageNode::NewStream(name, std::move(bytes));
    }
    node->Add(std::move(element));
  }
  return S_OK;
}

KivResult WriteDir(GsfOutfile* dir, const StorageNode& node) {
  for (const StorageNode* child : node.Ordered()) {
    std::string name = WideToUtf8(child->name);
    GPtr<GsfOutput> out(gsf_outfile_new_child(dir, name.c_str(), child->is_storage));
    if (!out) return STG_E_WRITEFAULT;
    KivResult r = S_OK;
    if (child->is_storage) {
      guint8 clsid[16];
      GuidToBytes(child->clsid, clsid);
      gsf_outfile_msole_set_class_id(GSF_OUTFILE_MSOLE(out.get()), clsid);
      r = WriteDir(GSF_OUTFILE(out.get()), *child);
    } else if (!child->Bytes().empty() &&
               !gsf_output_write(out.get(), child->Bytes().size(),
                                 reinterpret_cast<const guint8*>(child->Bytes().data()))) {
      r = STG_E_WRITEFAULT;
    }
    if (!gsf_output_close(out.get()) && Succeeded(r)) r = STG_E_WRITEFAULT;
    if (Failed(r)) return r;
  }
  return S_OK;
}

}  // namespace

bool HasCompoundFileSignature(std::string_view bytes) {
  return bytes.size() >= sizeof kSignature &&
         std::memcmp(bytes.data(), kSignature, sizeof kSignature) == 0;
}

KivResult ParseCompoundFile(std::string_view bytes, std::shared_ptr<StorageNode>* root) {
  if (!root) return E_POINTER;
  if (!HeaderIsSane(bytes)) return STG_E_DOCFILECORRUPT;
  InitGsf();
  GPtr<GsfInput> input(gsf_input_memory_new(reinterpret_cast<const guint8*>(bytes.data()),
                                            static_cast<gsf_off_t>(bytes.size()), FALSE));
  if (!input) return E_OUTOFMEMORY;
  GError* error = nullptr;
  GPtr<GsfInfile> infile(gsf_infile_msole_new(input.get(), &error));
  if (error) g_error_free(error);
  if (!infile) return STG_E_DOCFILECORRUPT;
  auto tree = StorageNode::NewStorage(u"Root Entry");
  tree->clsid = ClassOf(infile.get());
  KivResult r = ReadDir(infile.get(), tree.get(), bytes.size(), 0);
  if (Failed(r)) return r;
  *root = std::move(tree);
  return S_OK;
}

KivResult SerializeCompoundFile(const StorageNode& root, std::string* bytes) {
  if (!bytes) return E_POINTER;
  InitGsf();
  GPtr<GsfOutput> sink(gsf_output_memory_new());
  if (!sink) return E_OUTOFMEMORY;
  GPtr<GsfOutfile> outfile(gsf_outfile_msole_new(sink.get()));
  if (!outfile) return STG_E_WRITEFAULT;
  guint8 clsid[16];
  GuidToBytes(root.clsid, clsid);
  gsf_outfile_msole_set_class_id(GSF_OUTFILE_MSOLE(outfile.get()), clsid);
  KivResult r = WriteDir(outfile.get(), root);
  bool closed = gsf_output_close(GSF_OUTPUT(outfile.get()));
  if (Failed(r)) return r;
  if (!closed) return STG_E_WRITEFAULT;
  const guint8* data = gsf_output_memory_get_bytes(GSF_OUTPUT_MEMORY(sink.get()));
  gsf_off_t size = gsf_output_size(sink.get());
  if (size < 0 || (size > 0 && !data)) return STG_E_WRITEFAULT;
  bytes->assign(reinterpret_cast<const char*>(data), static_cast<size_t>(size));
  return S_OK;
}

}  // namespace velmar
