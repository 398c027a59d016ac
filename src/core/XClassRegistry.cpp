#include "core/XClassRegistry.h"

#include <map>
#include <mutex>
#include <shared_mutex>
#include <vector>

#include "core/XStream.h"

namespace mirelan {

namespace {

struct XClassEntry {
  XVersion itsVersion;
  XStreamFactory itsStreamConstructor = nullptr;
  XStreamFactory itsVersionedReader = nullptr;
  XDefaultFactory itsDefaultConstructor = nullptr;
  XString itsName;
  // Parents in the tree: registered bases, inheritance entries and the class
  // an alias stands for.
  std::vector<UInt16> itsParents;
  UInt16 itsAliasOf = 0;
  // The ids that name this class on older streams.
  std::vector<UInt16> itsAliases;

  bool HasStreamFactory() const { return itsStreamConstructor || itsVersionedReader; }
};

struct XRegistryTable {
  std::shared_mutex itsMutex;
  std::map<UInt16, XClassEntry> itsEntries;
};

XRegistryTable& Table() {
  static XRegistryTable sTable;
  return sTable;
}

void AddParent(XClassEntry& ioEntry, UInt16 inParent) {
  for (UInt16 p : ioEntry.itsParents)
    if (p == inParent) return;
  ioEntry.itsParents.push_back(inParent);
}

bool IsAUnlocked(const std::map<UInt16, XClassEntry>& inEntries, UInt16 inClass, UInt16 inBase) {
  // The tree is small and shallow; a walk with a visited list also survives
  // a cycle that a careless registration could make.
  std::vector<UInt16> pending{inClass}, seen;
  while (!pending.empty()) {
    UInt16 id = pending.back();
    pending.pop_back();
    if (id == inBase) return true;
    bool visited = false;
    for (UInt16 s : seen) visited = visited || s == id;
    if (visited) continue;
    seen.push_back(id);
    auto it = inEntries.find(id);
    if (it == inEntries.end()) continue;
    const XClassEntry& entry = it->second;
    pending.insert(pending.end(), entry.itsParents.begin(), entry.itsParents.end());
    // A class with no place of its own in the tree stands where its legacy
    // ids stand (XVolume, 520, is under the root through 101). Classes with
    // bases of their own do not inherit their aliases' places: a current
    // ARGB32 volume is no legacy image although its old id 1 is one.
    if (entry.itsParents.empty())
      pending.insert(pending.end(), entry.itsAliases.begin(), entry.itsAliases.end());
  }
  return false;
}

// The entry that holds factories for inID, following aliases.
const XClassEntry* FindFactoryEntry(const std::map<UInt16, XClassEntry>& inEntries, UInt16 inID) {
  for (int hops = 0; hops < 16; ++hops) {
    auto it = inEntries.find(inID);
    if (it == inEntries.end()) return nullptr;
    if (it->second.HasStreamFactory() || it->second.itsDefaultConstructor || !it->second.itsAliasOf)
      return &it->second;
    inID = it->second.itsAliasOf;
  }
  return nullptr;
}

}  // namespace

bool XVersion::IsA(const XVersion& inBase) const { return XClassRegistry::IsA(*this, inBase); }

void XClassRegistry::RegisterClass(const XVersion& inClass, const XVersion& inBase,
                                   XStreamFactory inStreamConstructor,
                                   XStreamFactory inVersionedReader,
                                   XDefaultFactory inDefaultConstructor, const XString& inName) {
  XRegistryTable& table = Table();
  std::unique_lock<std::shared_mutex> guard(table.itsMutex);
  XClassEntry& entry = table.itsEntries[inClass.GetClassID()];
  entry.itsVersion = inClass;
  if (inStreamConstructor) entry.itsStreamConstructor = inStreamConstructor;
  if (inVersionedReader) entry.itsVersionedReader = inVersionedReader;
  if (inDefaultConstructor) entry.itsDefaultConstructor = inDefaultConstructor;
  if (!inName.empty() || entry.itsName.empty()) entry.itsName = inName;
  if (inBase.GetClassID() && inBase.GetClassID() != inClass.GetClassID())
    AddParent(entry, inBase.GetClassID());
}

void XClassRegistry::RegisterAlias(UInt16 inAlias, UInt16 inClass) {
  XRegistryTable& table = Table();
  std::unique_lock<std::shared_mutex> guard(table.itsMutex);
  XClassEntry& entry = table.itsEntries[inAlias];
  if (!entry.itsVersion.GetClassID()) entry.itsVersion = XVersion(inAlias, 0);
  entry.itsAliasOf = inClass;
  AddParent(entry, inClass);
  XClassEntry& target = table.itsEntries[inClass];
  if (!target.itsVersion.GetClassID()) target.itsVersion = XVersion(inClass, 0);
  bool known = false;
  for (UInt16 a : target.itsAliases) known = known || a == inAlias;
  if (!known) target.itsAliases.push_back(inAlias);
}

void XClassRegistry::RegisterInheritance(UInt16 inDerived, UInt16 inBase) {
  XRegistryTable& table = Table();
  std::unique_lock<std::shared_mutex> guard(table.itsMutex);
  XClassEntry& entry = table.itsEntries[inDerived];
  if (!entry.itsVersion.GetClassID()) entry.itsVersion = XVersion(inDerived, 0);
  if (inDerived != inBase) AddParent(entry, inBase);
}

bool XClassRegistry::IsA(const XVersion& inClass, const XVersion& inBase) {
  if (inClass.GetClassID() == inBase.GetClassID()) return true;
  XRegistryTable& table = Table();
  std::shared_lock<std::shared_mutex> guard(table.itsMutex);
  return IsAUnlocked(table.itsEntries, inClass.GetClassID(), inBase.GetClassID());
}

bool XClassRegistry::IsRegistered(UInt16 inClassID) {
  XRegistryTable& table = Table();
  std::shared_lock<std::shared_mutex> guard(table.itsMutex);
  return table.itsEntries.count(inClassID) != 0;
}

XString XClassRegistry::GetClassName(UInt16 inClassID) {
  XRegistryTable& table = Table();
  std::shared_lock<std::shared_mutex> guard(table.itsMutex);
  auto it = table.itsEntries.find(inClassID);
  return it == table.itsEntries.end() ? XString() : it->second.itsName;
}

XStorable* XClassRegistry::CreateObject(const XVersion& inVersion, XStream& inStream,
                                        XStorable::XOptions inOptions) {
  XStreamFactory factory = nullptr;
  {
    XRegistryTable& table = Table();
    std::shared_lock<std::shared_mutex> guard(table.itsMutex);
    const XClassEntry* entry = FindFactoryEntry(table.itsEntries, inVersion.GetClassID());
    if (entry) {
      // The stream constructor knows the legacy and lossy forms; the versioned
      // reader is the one that honours options such as header-only reading.
      bool preferReader = inOptions != XStorable::kReadAll || !entry->itsStreamConstructor;
      factory = preferReader && entry->itsVersionedReader ? entry->itsVersionedReader
                                                          : entry->itsStreamConstructor;
    }
  }
  if (!factory)
    throw XException(kErrWrongClass, "no class registered for id " +
                                         std::to_string(inVersion.GetClassID()));
  return factory(inStream, inVersion, inOptions);
}

XStorable* XClassRegistry::CreateObject(const XVersion& inVersion) {
  XDefaultFactory factory = nullptr;
  {
    XRegistryTable& table = Table();
    std::shared_lock<std::shared_mutex> guard(table.itsMutex);
    const XClassEntry* entry = FindFactoryEntry(table.itsEntries, inVersion.GetClassID());
    if (entry) factory = entry->itsDefaultConstructor;
  }
  return factory ? factory() : nullptr;
}

}  // namespace mirelan
