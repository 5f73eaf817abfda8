#pragma once

#include <algorithm>
#include <memory>
#include <new>

#include <ktmp4/result.h>

namespace kt {

/// The largest number of each block of a table, and of each two, four, ... blocks: the next block that holds
/// a number of some size is found in as many steps as the table has bits, whether or not the numbers rise.
class CBlockMaxima {
 public:
  /// Room for that many blocks, at least one, all of them 0. MP4_NO_MEMORY, with nothing changed.
  Mp4Result Reset(u32 blocks) {
    u32 leaves = 1;
    while (leaves < blocks) leaves *= 2;
    std::unique_ptr<u32[]> largest(new (std::nothrow) u32[2 * std::size_t{leaves}]());
    if (!largest) return MP4_NO_MEMORY;
    m_largest = std::move(largest);
    m_leaves = leaves;
    return MP4_OK;
  }

  /// Takes a number of a block, counted from 0, into account.
  void Offer(u32 block, u32 number) {
    u32& largest = m_largest[m_leaves + block];
    largest = std::max(largest, number);
  }
  /// To be called behind the last `Offer`.
  void Combine() {
    for (std::size_t node = m_leaves - 1; node > 0; --node) {
      m_largest[node] = std::max(m_largest[2 * node], m_largest[2 * node + 1]);
    }
  }

  /// The first block from `block` on that holds a number of at least `bound`; the number of leaves, which is
  /// not below that of the blocks, when there is none.
  u32 FirstReaching(u32 block, u64 bound) const {
    u32 node = m_leaves + block;
    while (m_largest[node] < bound) {
      while (node % 2 == 1) node /= 2;  // nothing lies behind a right half but behind the whole
      if (node == 0) return m_leaves;
      ++node;
    }
    while (node < m_leaves) {
      node *= 2;
      if (m_largest[node] < bound) ++node;
    }
    return node - m_leaves;
  }

 private:
  std::unique_ptr<u32[]> m_largest;  // node 1 stands for all blocks, nodes 2n and 2n + 1 for the halves of n
  u32 m_leaves = 0;
};

}  // namespace kt
