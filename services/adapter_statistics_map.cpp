#include "kyv/adapter_statistics_map.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>

#include "services/c_string_hash.h"
#include "services/malloc_ptr.h"

namespace {

using HashMap = AdapterStatisticsMap::HashMap;

constexpr std::size_t kExpectedEntries = 100;

// The numbers of buckets, each about twice the one before.
constexpr std::size_t kPrimes[] = {53,        97,        193,       389,       769,        1543,       3079,
                                   6151,      12289,     24593,     49157,     98317,      196613,     393241,
                                   786433,    1572869,   3145739,   6291469,   12582917,   25165843,   50331653,
                                   100663319, 201326611, 402653189, 805306457, 1610612741, 3221225473, 4294967291};

std::size_t bucketsFor(std::size_t entries) {
  const std::size_t* const prime = std::lower_bound(std::begin(kPrimes), std::end(kPrimes), entries);
  return prime != std::end(kPrimes) ? *prime : *std::prev(prime);
}

}  // namespace

bool eqstr::operator()(const char* left, const char* right) const { return std::strcmp(left, right) == 0; }

HashMap::HashMap() : buckets_(bucketsFor(kExpectedEntries)) {}

HashMap::HashMap(const HashMap& other) : buckets_(other.buckets_.size()) {
  for (std::size_t bucket = 0; bucket < buckets_.size(); ++bucket) {
    Node** end = &buckets_[bucket];
    for (const Node* node = other.buckets_[bucket]; node != nullptr; node = node->next) {
      *end = &nodes_.emplace_back(Node{node->entry, nullptr});
      end = &(*end)->next;
    }
  }
}

HashMap& HashMap::operator=(const HashMap& other) {
  if (&other == this) return *this;
  HashMap copy(other);
  buckets_.swap(copy.buckets_);
  nodes_.swap(copy.nodes_);
  return *this;
}

HashMap::~HashMap() = default;

std::size_t HashMap::bucketOf(const char* name) const { return kyv_internal::cStringHash(name) % buckets_.size(); }

HashMap::Node* HashMap::nodeOf(const char* name, std::size_t bucket) const {
  Node* node = buckets_[bucket];
  while (node != nullptr && !eqstr()(node->entry.first, name)) node = node->next;
  return node;
}

const char* HashMap::find(const char* name) const {
  const Node* const node = nodeOf(name, bucketOf(name));
  return node != nullptr ? node->entry.second : nullptr;
}

void HashMap::growFor(std::size_t entries) {
  if (entries <= buckets_.size()) return;
  const std::size_t wanted = bucketsFor(entries);
  if (wanted <= buckets_.size()) return;
  std::vector<Node*> before(wanted);
  before.swap(buckets_);
  for (Node* chain : before) {
    while (chain != nullptr) {
      Node* const node = std::exchange(chain, chain->next);
      Node*& first = buckets_[bucketOf(node->entry.first)];
      node->next = std::exchange(first, node);
    }
  }
}

HashMap::value_type& HashMap::set(const char* name, const char* value) {
  growFor(size() + 1);
  const std::size_t bucket = bucketOf(name);
  if (Node* const node = nodeOf(name, bucket)) {
    node->entry.second = value;
    return node->entry;
  }
  Node& node = nodes_.emplace_back(Node{{name, value}, buckets_[bucket]});
  buckets_[bucket] = &node;
  return node.entry;
}

void HashMap::clear() {
  std::fill(buckets_.begin(), buckets_.end(), nullptr);
  nodes_.clear();
}

namespace {

// The copy belongs to the list.
char* addCopy(std::vector<char*>& copies, const char* text) {
  kyv_internal::MallocPtr<char> copy(strdup(text));
  if (copy == nullptr) throw std::bad_alloc();
  copies.push_back(copy.get());
  return copy.release();
}

}  // namespace

AdapterStatisticsMap::AdapterStatisticsMap() = default;

// Required as is: the copies outlive the object, since a map that was handed out may still point at them.
AdapterStatisticsMap::~AdapterStatisticsMap() = default;

HashMap::value_type& AdapterStatisticsMap::addStatistics(const char* name, const char* value) {
  const char* const nameCopy = addCopy(ownedCopies, name);
  const char* const valueCopy = addCopy(ownedCopies, value);
  return statistics.set(nameCopy, valueCopy);
}

void AdapterStatisticsMap::getStatisticsMap(HashMap& out) const { out = statistics; }

void AdapterStatisticsMap::cleanUpData() {
  while (!ownedCopies.empty()) {
    std::free(ownedCopies.back());
    ownedCopies.pop_back();
  }
  statistics.clear();
}
