#pragma once

// An adapter's named statistics, as text: a count already written as digits, say. The adapter adds and updates them
// while it runs; the framework around it reads them all as a hash map of C strings.
//
// Memory: names and values are copied, so a caller may pass temporary texts. Copies are never released one by one: each
// addStatistics adds two, an update as well, until cleanUpData. A long-running adapter calls that between its reports.
//
// Threads: not locked; one thread at a time.

#include <cstddef>
#include <deque>
#include <iterator>
#include <utility>
#include <vector>

#include "kyv/export.h"

// Whether two C strings have the same characters. Letters of another case are others.
struct KYV_EXPORT eqstr {  // NOLINT(readability-identifier-naming): a name that frameworks know
  bool operator()(const char* left, const char* right) const;
};

class KYV_EXPORT AdapterStatisticsMap {
 public:
  // From C string to C string; it owns neither. Names are hashed by their bytes, read as signed characters and starting
  // from 0: h = 5 h + byte; the bucket is h modulo the number of buckets. Entries stay where they are until they are
  // removed, whatever else is added.
  class KYV_EXPORT HashMap {
   public:
    using value_type = std::pair<const char* const, const char*>;
    class const_iterator;

    // Room for 100 entries: 193 buckets.
    HashMap();
    // The copy has as many buckets, and the entries in the same order. Copying a map into itself does nothing. When
    // memory is exhausted the target stays as it was.
    HashMap(const HashMap& other);
    HashMap& operator=(const HashMap& other);
    ~HashMap();

    std::size_t size() const { return nodes_.size(); }
    bool empty() const { return nodes_.empty(); }
    std::size_t bucket_count() const { return buckets_.size(); }
    // The value of a name, or null.
    const char* find(const char* name) const;
    // Bucket by bucket, in each the newest entry first. Adding an entry or removing them ends an iterator's life.
    const_iterator begin() const;
    const_iterator end() const;

    // Sets the value of a name: of its entry, which keeps its name, or of a new one. A name past the number of buckets
    // moves all entries into more of them, even when it turns out to be there already.
    value_type& set(const char* name, const char* value);
    // Removes all entries and keeps the buckets.
    void clear();

   private:
    struct Node {
      value_type entry;
      Node* next;  // in the same bucket
    };

    std::size_t bucketOf(const char* name) const;
    Node* nodeOf(const char* name, std::size_t bucket) const;
    void growFor(std::size_t entries);

    std::vector<Node*> buckets_;  // the first of each
    std::deque<Node> nodes_;
  };

  AdapterStatisticsMap();
  AdapterStatisticsMap(const AdapterStatisticsMap&) = delete;
  AdapterStatisticsMap& operator=(const AdapterStatisticsMap&) = delete;
  // Does not release the copies: call cleanUpData first, unless a map that getStatisticsMap filled still needs them.
  virtual ~AdapterStatisticsMap();

  // Releases every copy, from the last to the first, and removes all statistics.
  virtual void cleanUpData();

  // Sets the value of a name and returns their entry, which is valid until cleanUpData; its value changes with the next
  // update. Throws when memory is exhausted, with the statistics as they were.
  HashMap::value_type& addStatistics(const char* name, const char* value);

  // Replaces the contents of `out` by the statistics. Its texts belong to this object and die with cleanUpData.
  void getStatisticsMap(HashMap& out) const;

 protected:
  HashMap statistics;
  std::vector<char*> ownedCopies;  // in the order made; from malloc
};

class AdapterStatisticsMap::HashMap::const_iterator {
 public:
  using iterator_category = std::forward_iterator_tag;
  using value_type = HashMap::value_type;
  using difference_type = std::ptrdiff_t;
  using pointer = const value_type*;
  using reference = const value_type&;

  const_iterator() = default;

  reference operator*() const { return node_->entry; }
  pointer operator->() const { return &node_->entry; }
  const_iterator& operator++() {
    node_ = node_->next;
    skipEmptyBuckets();
    return *this;
  }
  const_iterator operator++(int) {
    const const_iterator before = *this;
    ++*this;
    return before;
  }
  bool operator==(const const_iterator& other) const { return node_ == other.node_; }

 private:
  friend class HashMap;
  const_iterator(Node* const* next, Node* const* end) : next_(next), end_(end) { skipEmptyBuckets(); }

  void skipEmptyBuckets() {
    while (node_ == nullptr && next_ != end_) node_ = *next_++;
  }

  Node* node_ = nullptr;
  Node* const* next_ = nullptr;  // the buckets to come
  Node* const* end_ = nullptr;
};

inline AdapterStatisticsMap::HashMap::const_iterator AdapterStatisticsMap::HashMap::begin() const {
  return {buckets_.data(), buckets_.data() + buckets_.size()};
}

inline AdapterStatisticsMap::HashMap::const_iterator AdapterStatisticsMap::HashMap::end() const { return {}; }
