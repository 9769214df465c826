#include "shared/freespaceindex.h"

#include <algorithm>

#include "shared/database.h"

void FreeSpaceIndex::recomputeLargest(Bucket* bucket) {
  bucket->largest = bucket->lengths.begin()->second;
  for (const auto& entry : bucket->lengths) bucket->largest = std::max(bucket->largest, entry.second);
}

void FreeSpaceIndex::set(long entry, bool isFree, long length) {
  if (entry < 1) return;
  if (isFree && length < kSmallFreeLength) small_.insert(entry);
  else small_.erase(entry);

  long key = entry / kBucketEntries;
  auto found = buckets_.find(key);
  if (!isFree) {
    if (found == buckets_.end()) return;
    Bucket& bucket = found->second;
    auto old = bucket.lengths.find(entry);
    if (old == bucket.lengths.end()) return;
    bool wasLargest = old->second == bucket.largest;
    bucket.lengths.erase(old);
    if (bucket.lengths.empty()) buckets_.erase(found);
    else if (wasLargest) recomputeLargest(&bucket);
    return;
  }
  Bucket& bucket = buckets_[key];
  auto old = bucket.lengths.find(entry);
  bool lowersLargest = old != bucket.lengths.end() && old->second == bucket.largest &&
                       length < old->second;
  bucket.lengths[entry] = length;
  if (lowersLargest) recomputeLargest(&bucket);
  else if (bucket.lengths.size() == 1 || length > bucket.largest) bucket.largest = length;
}

long FreeSpaceIndex::firstSmall(long limit) const {
  if (small_.empty() || *small_.begin() > limit) return -1;
  return *small_.begin();
}

long FreeSpaceIndex::firstFit(long size, long limit) const {
  for (const auto& [key, bucket] : buckets_) {
    if (key * kBucketEntries > limit) break;
    if (bucket.largest < size) continue;
    for (const auto& [entry, length] : bucket.lengths) {
      if (entry > limit) return -1;
      if (length >= size) return entry;
    }
  }
  return -1;
}
