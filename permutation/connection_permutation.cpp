#include "kyv/connection_permutation.h"

#include <algorithm>
#include <cstdio>
#include <unordered_map>
#include <utility>

#include "kyv/connection_row.h"
#include "kyv/string_utility.h"
#include "permutation/permutation_text.h"

namespace {

using DALVON::Kyv::strprintf;

// Of the names that a text can ask for by the number of a field.
constexpr int kMostNumberedNames = 1'000'000;
constexpr std::int32_t kNoPosition = -1;

constexpr char kUsedTwice[] = "Misformatted permutation string, %s field name '%s' used twice";
constexpr char kUnknown[] = "Misformatted permutation, %s field '%s' is unknown";

std::string generatedName(std::size_t position) { return strprintf("field_%02zu", position); }

void appendGeneratedNames(int count, std::vector<std::string>& names) {
  for (int i = 0; i < count; ++i) names.push_back(generatedName(static_cast<std::size_t>(i)));
}

void appendColumnNames(const ConnectionRowType& type, std::vector<std::string>& names) {
  const int count = type.getColumnCount();
  for (int i = 0; i < count; ++i) names.emplace_back(type.getColumnName(i));
}

// Where each name stands first in an order.
using FirstPositions = std::unordered_map<std::string_view, std::int32_t>;

FirstPositions firstPositions(const std::vector<std::string>& order) {
  FirstPositions positions;
  positions.reserve(order.size());
  for (std::size_t i = 0; i < order.size(); ++i) positions.emplace(order[i], static_cast<std::int32_t>(i));
  return positions;
}

std::int32_t positionIn(const FirstPositions& positions, const std::string& name) {
  const auto found = positions.find(name);
  return found == positions.end() ? kNoPosition : found->second;
}

std::vector<std::int32_t> tableOf(const std::map<std::int32_t, std::int32_t>& positions, std::size_t size) {
  std::vector<std::int32_t> table(size, kNoPosition);
  for (const auto& [from, to] : positions) table[static_cast<std::size_t>(from)] = to;
  return table;
}

// The rule of all lookups: a direct object gives the key, a map that does not have it gives the key and a failure.
template <class Map, class Key, class Store>
bool look(bool direct, bool failed, const Map& map, const Key& key, Store store) {
  const auto found = direct || failed ? map.end() : map.find(key);
  if (found == map.end()) {
    store(key);
    return direct;
  }
  store(found->second);
  return true;
}

// Stores a name as a C text.
struct StoreText {
  const char** out;
  void operator()(const char* text) const { *out = text; }
  void operator()(const std::string& text) const { *out = text.c_str(); }
};

template <class Value>
auto storeIn(Value& out) {
  return [&out](const Value& value) { out = value; };
}

}  // namespace

void ConnectionPermutation::clear() { *this = ConnectionPermutation(); }

bool ConnectionPermutation::fail(std::string message, std::string& error) {
  error = std::move(message);
  failed = true;
  return false;
}

bool ConnectionPermutation::setPermutation(bool externalHasNames, const char* text, std::string& error) {
  std::string copy(text);  // it may belong to what is cleared
  clear();
  text_ = std::move(copy);
  for (std::size_t at = 0; at < text_.size();) {
    const kyv_internal::PermutationPair pair = kyv_internal::readPair(text_, at);
    faultyPair_ = Extent{pair.begin, pair.end};
    if (pair.problem != nullptr) return fail(strprintf(pair.problem, text_.c_str() + at), error);
    direct = false;
    if (!addPair(externalHasNames, pair.platform, pair.external, error)) return false;
    at = pair.end + 1;
  }
  faultyPair_.reset();
  return true;
}

bool ConnectionPermutation::addPair(bool externalHasNames, std::string_view platform, std::string_view external,
                                    std::string& error) {
  std::string platformName(platform);
  std::string externalName(external);
  if (platToExtNames.contains(platform)) return fail(strprintf(kUsedTwice, "platform", platformName.c_str()), error);
  if (extToPlatNames.contains(external)) return fail(strprintf(kUsedTwice, "external", externalName.c_str()), error);
  platToExtNames.emplace(platformName, externalName);
  extToPlatNames.emplace(externalName, platformName);
  platOrder.push_back(std::move(platformName));
  extOrder.push_back(externalHasNames ? std::move(externalName) : generatedName(extOrder.size()));
  return true;
}

void ConnectionPermutation::setPlatOrder(const std::vector<std::string>& names) { platOrder = names; }

void ConnectionPermutation::setPlatOrder(ConnectionRowType* type) {
  platOrder.clear();
  appendColumnNames(*type, platOrder);
}

void ConnectionPermutation::setExternalOrder(const std::vector<std::string>& names) { extOrder = names; }

void ConnectionPermutation::setExternalOrder(const std::vector<std::string>* names) {
  if (names == nullptr) return extOrder.clear();
  extOrder = *names;
}

void ConnectionPermutation::setExternalOrder(ConnectionRowType* type) {
  extOrder.clear();
  appendColumnNames(*type, extOrder);
}

void ConnectionPermutation::setExternalCount(int count) {
  extOrder.clear();
  appendGeneratedNames(count, extOrder);
}

bool ConnectionPermutation::prepareOrder(bool requireNoHoles, std::string& error) {
  platToExtIndex.clear();
  extToPlatIndex.clear();
  extOfPlat_.clear();
  platOfExt_.clear();
  faultyPair_.reset();
  if (platOrder.empty()) return fail("Connector internal error: Platform field order is not set", error);
  if (extOrder.empty() && !deriveExternalOrder(requireNoHoles, error)) return false;
  if (!findPositions(error)) return false;
  extOfPlat_ = tableOf(platToExtIndex, platOrder.size());
  platOfExt_ = tableOf(extToPlatIndex, extOrder.size());
  prepared = true;
  return true;
}

bool ConnectionPermutation::deriveExternalOrder(bool requireNoHoles, std::string& error) {
  int highest = 0;
  for (const auto& [external, platform] : extToPlatNames) {
    int number = 0;
    const bool isNumbered = std::sscanf(external.c_str(), "field_%d", &number) == 1 && number <= kMostNumberedNames;
    if (!isNumbered || number < 0) {
      blamePairOf(platform);
      return fail(strprintf(isNumbered ? "Misformatted external field name, in field_N must have N>=0, got '%s'"
                                       : "Misformatted external field name, expected field_N, got '%s'",
                            external.c_str()),
                  error);
    }
    highest = std::max(highest, number);
  }
  if (requireNoHoles && static_cast<std::size_t>(highest) + 1 != extToPlatNames.size()) {
    return fail("Misformatted external field names, in field_N the N values must form a sequence without holes", error);
  }
  // Required as is: as many names as the highest number says, one too few for the field of that number.
  appendGeneratedNames(highest, extOrder);
  return true;
}

bool ConnectionPermutation::findPositions(std::string& error) {
  const FirstPositions platform = firstPositions(platOrder);
  const FirstPositions external = firstPositions(extOrder);
  for (const auto& [platformName, externalName] : platToExtNames) {
    const std::int32_t from = positionIn(platform, platformName);
    const std::int32_t to = positionIn(external, externalName);
    if (from == kNoPosition || to == kNoPosition) {
      blamePairOf(platformName);
      return fail(from == kNoPosition ? strprintf(kUnknown, "platform", platformName.c_str())
                                      : strprintf(kUnknown, "external", externalName.c_str()),
                  error);
    }
    platToExtIndex[from] = to;
    extToPlatIndex[to] = from;
  }
  return true;
}

// The text was read before, so each of its platform names has one pair.
void ConnectionPermutation::blamePairOf(std::string_view platformName) {
  for (std::size_t at = 0; at < text_.size();) {
    const kyv_internal::PermutationPair pair = kyv_internal::readPair(text_, at);
    if (pair.platform == platformName) {
      faultyPair_ = Extent{pair.begin, pair.end};
      return;
    }
    at = pair.end + 1;
  }
}

bool ConnectionPermutation::plat2ext(const char* name, const char** out) const {
  return look(direct, failed, platToExtNames, name, StoreText{out});
}

bool ConnectionPermutation::plat2ext(const std::string& name, std::string& out) const {
  return look(direct, failed, platToExtNames, name, storeIn(out));
}

bool ConnectionPermutation::plat2ext(int position, int* out) const {
  return look(direct, failed, platToExtIndex, position, storeIn(*out));
}

bool ConnectionPermutation::ext2plat(const char* name, const char** out) const {
  return look(direct, failed, extToPlatNames, name, StoreText{out});
}

bool ConnectionPermutation::ext2plat(const std::string& name, std::string& out) const {
  return look(direct, failed, extToPlatNames, name, storeIn(out));
}

bool ConnectionPermutation::ext2plat(int position, int* out) const {
  return look(direct, failed, extToPlatIndex, position, storeIn(*out));
}
