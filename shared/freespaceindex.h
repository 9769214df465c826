// An in-memory index of the FREE entries of a block database's master
// pointer list, so that "the first free entry in number order that is big
// enough" does not have to read the whole list for every new block.
//
// It answers exactly what a scan of the entries in number order would; it
// is only as true as what it is told through set().  Memory grows with the
// number of free entries, never with how high their numbers are.
#ifndef OWB_SHARED_FREESPACEINDEX_H
#define OWB_SHARED_FREESPACEINDEX_H

#include <map>
#include <set>

class FreeSpaceIndex {
 public:
  // Records entry (from 1) as free with length bytes, or as not free.
  void set(long entry, bool isFree, long length);
  // The lowest free entry, not above limit, whose length is below the
  // database's small free length; -1 if none.
  long firstSmall(long limit) const;
  // The lowest free entry, not above limit, whose length is at least size; -1 if none.
  long firstFit(long size, long limit) const;

 private:
  // Free entries in runs of kBucketEntries numbers, each with its largest length.
  struct Bucket {
    std::map<long, long> lengths;
    long largest = 0;
  };
  static constexpr long kBucketEntries = 256;
  static void recomputeLargest(Bucket* bucket);

  std::map<long, Bucket> buckets_;
  std::set<long> small_;
};

#endif  // OWB_SHARED_FREESPACEINDEX_H
