// The storage object: one open storage of a tree (the root or a
// sub-storage), direct or transacted. See velmar/storage.h for the rules
// callers see.
//
// Ownership: an object holds its parent (ComPtr), so a tree's root lives
// while anything in it is open. It knows its element in the parent's tree
// only weakly: when the parent drops that node (destroy, revert) the object
// is reverted. A transacted object owns a working copy of its subtree.
//
// Thread-safety: none (one thread per tree).
#pragma once

#include <memory>
#include <string>

#include "platform/storage/storage_node.h"
#include "velmar/storage.h"

namespace velmar {

// Where a root's committed tree goes: a file, or nowhere (memory).
class RootBacking {
 public:
  virtual ~RootBacking() = default;
  [[nodiscard]] virtual KivResult Save(const StorageNode& tree) = 0;
  virtual std::u16string Name() const = 0;
};

class StorageImpl final : public KivObject<IKivStorage> {
 public:
  // A root over `tree`; a null `backing` keeps it in memory.
  static ComPtr<StorageImpl> NewRoot(std::shared_ptr<StorageNode> tree, uint32_t mode,
                                     std::unique_ptr<RootBacking> backing);

  KivResult CreateStream(std::u16string_view name, uint32_t mode, IKivStream** out) override;
  KivResult OpenStream(std::u16string_view name, uint32_t mode, IKivStream** out) override;
  KivResult CreateStorage(std::u16string_view name, uint32_t mode, IKivStorage** out) override;
  KivResult OpenStorage(std::u16string_view name, uint32_t mode, IKivStorage** out) override;
  KivResult CopyTo(IKivStorage* dest) override;
  KivResult MoveElementTo(std::u16string_view name, IKivStorage* dest,
                          std::u16string_view newName, uint32_t flags) override;
  KivResult Commit(uint32_t flags) override;
  KivResult Revert() override;
  KivResult EnumElements(std::vector<StatStg>* out) override;
  KivResult DestroyElement(std::u16string_view name) override;
  KivResult RenameElement(std::u16string_view oldName, std::u16string_view newName) override;
  KivResult SetClass(const Guid& clsid) override;
  KivResult Stat(StatStg* out) override;

  // This storage's tree as it sees it now, uncommitted changes included.
  // STG_E_REVERTED when its element is gone.
  [[nodiscard]] KivResult View(std::shared_ptr<StorageNode>* out) const;
  // Marks the root as changed (a direct root writes itself when released).
  void NoteChange();
  bool writable() const;

 private:
  StorageImpl(ComPtr<StorageImpl> parent, std::weak_ptr<StorageNode> base, uint32_t mode);
  ~StorageImpl() override;

  // The node this storage stands on in its parent's view (roots: the
  // committed tree). Null when reverted.
  std::shared_ptr<StorageNode> Base() const;
  bool transacted() const;
  bool is_root() const { return !parent_; }
  // Checks name, mode and access for making or opening an element.
  [[nodiscard]] KivResult Prepare(std::u16string_view name, uint32_t mode, bool create,
                                  std::shared_ptr<StorageNode>* work) const;
  // Finds an element to open as a storage or a stream.
  [[nodiscard]] KivResult FindClosed(const StorageNode& work, std::u16string_view name,
                                     bool storage, std::shared_ptr<StorageNode>* out) const;
  // Adds a new element, replacing one of that name when `mode` says so.
  [[nodiscard]] KivResult AddNew(StorageNode& work, std::shared_ptr<StorageNode> node,
                                 uint32_t mode);
  // The checks and lookups of Create* and Open*, for either kind.
  [[nodiscard]] KivResult MakeElement(std::u16string_view name, uint32_t mode, bool storage,
                                      std::shared_ptr<StorageNode>* node);
  [[nodiscard]] KivResult FindElement(std::u16string_view name, uint32_t mode, bool storage,
                                      std::shared_ptr<StorageNode>* node) const;
  KivResult GiveStream(std::shared_ptr<StorageNode> node, uint32_t mode, IKivStream** out);
  KivResult GiveStorage(std::shared_ptr<StorageNode> node, uint32_t mode, IKivStorage** out);

  ComPtr<StorageImpl> parent_;
  std::weak_ptr<StorageNode> base_;         // children: the element in the parent's view
  std::shared_ptr<StorageNode> committed_;  // roots: the tree as last committed
  std::shared_ptr<StorageNode> own_;        // transacted: the working copy
  std::unique_ptr<RootBacking> backing_;    // roots only
  uint32_t mode_ = 0;
  bool dirty_ = false;                      // roots: changed since the last write
};

}  // namespace velmar
