// An in-memory index of the FREE entries of a block database's master
// pointer list, so that "the first free entry in number order that is big
// enough" does not have to read the whole list for every new block.
//
// It answers exactly what a scan of the entries in number order would; it
// is only as true as what it is told through set().
#ifndef OWB_SHARED_FREESPACEINDEX_H
#define OWB_SHARED_FREESPACEINDEX_H

#include <cstddef>
#include <cstdint>
#include <set>
#include <vector>

class FreeSpaceIndex {
 public:
  // Records entry (from 1) as free with length bytes, or as not free.
  void set(long entry, bool isFree, long length);
  // The lowest free entry, not above limit, whose length is below smallLength; -1 if none.
  long firstSmall(long limit) const;
  // The lowest free entry, not above limit, whose length is at least size; -1 if none.
  long firstFit(long size, long limit) const;

 private:
  void ensureRoom(long entry);
  long findFit(size_t node, long low, long high, int64_t size, long limit) const;

  std::vector<int64_t> tree_;  // max-tree over entries; leaves_ leaves
  long leaves_ = 0;
  std::set<long> small_;
};

#endif  // OWB_SHARED_FREESPACEINDEX_H
