#include "shared/freespaceindex.h"

#include <algorithm>
#include <limits>

#include "shared/database.h"

namespace {
constexpr int64_t kNotFree = std::numeric_limits<int64_t>::min();
}

void FreeSpaceIndex::ensureRoom(long entry) {
  if (entry <= leaves_) return;
  long newLeaves = std::max<long>(leaves_ ? leaves_ : 128, 1);
  while (newLeaves < entry) newLeaves *= 2;
  std::vector<int64_t> grown(2 * static_cast<size_t>(newLeaves), kNotFree);
  for (long i = 0; i < leaves_; ++i) grown[newLeaves + i] = tree_[leaves_ + i];
  for (long node = newLeaves - 1; node >= 1; --node)
    grown[node] = std::max(grown[2 * node], grown[2 * node + 1]);
  tree_.swap(grown);
  leaves_ = newLeaves;
}

void FreeSpaceIndex::set(long entry, bool isFree, long length) {
  if (entry < 1) return;
  if (isFree && length < kSmallFreeLength) small_.insert(entry);
  else small_.erase(entry);
  if (!isFree && entry > leaves_) return;  // beyond the tree means not free already
  ensureRoom(entry);
  size_t node = static_cast<size_t>(leaves_ + entry - 1);
  tree_[node] = isFree ? length : kNotFree;
  for (node /= 2; node >= 1; node /= 2) tree_[node] = std::max(tree_[2 * node], tree_[2 * node + 1]);
}

long FreeSpaceIndex::firstSmall(long limit) const {
  if (small_.empty() || *small_.begin() > limit) return -1;
  return *small_.begin();
}

long FreeSpaceIndex::findFit(size_t node, long low, long high, int64_t size, long limit) const {
  if (low > limit || tree_[node] < size) return -1;
  if (low == high) return low;
  long middle = low + (high - low) / 2;
  long found = findFit(2 * node, low, middle, size, limit);
  if (found >= 0) return found;
  return findFit(2 * node + 1, middle + 1, high, size, limit);
}

long FreeSpaceIndex::firstFit(long size, long limit) const {
  if (leaves_ == 0 || limit < 1) return -1;
  return findFit(1, 1, leaves_, size, limit);
}
