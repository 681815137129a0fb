// The flat functions over permutations: each reads its handle and calls the object.

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "kyv/connection_permutation.h"
#include "kyv/flat.h"
#include "kyv/mutexes.h"
#include "services/handle_cell.h"

using kyv_internal::guarded;
using kyv_internal::newText;

struct ConnectionPermutationHandle {
  ConnectionPermutation* object;
};

namespace {

// Calls `configure` with a string for its message, and hands that out as a new text; null on success.
template <class Configure>
int withMessage(char** error, Configure configure) {
  if (error != nullptr) *error = nullptr;
  return guarded(0, [&] {
    std::string message;
    const bool good = configure(message);
    if (!good && error != nullptr) *error = newText(message);
    return good ? 1 : 0;
  });
}

}  // namespace

ConnectionPermutationHandle* createConnectionPermutation() {
  return kyv_internal::makeCell<ConnectionPermutationHandle>(_objectMutex,
                                                             [] { return std::make_unique<ConnectionPermutation>(); });
}

void deleteConnectionPermutation(ConnectionPermutationHandle* permutation) { kyv_internal::deleteCell(permutation); }

void clearConnectionPermutation(ConnectionPermutationHandle* permutation) {
  guarded([&] { permutation->object->clear(); });
}

int setPermutation(ConnectionPermutationHandle* permutation, int externalHasNames, const char* text, char** error) {
  return withMessage(error, [&](std::string& message) {
    return permutation->object->setPermutation(externalHasNames != 0, text, message);
  });
}

int prepareOrder(ConnectionPermutationHandle* permutation, int requireNoHoles, char** error) {
  return withMessage(
      error, [&](std::string& message) { return permutation->object->prepareOrder(requireNoHoles != 0, message); });
}

void setPlatOrder(ConnectionPermutationHandle* permutation, ConnectionRowType* type) {
  guarded([&] { permutation->object->setPlatOrder(type); });
}

void setExternalOrder(ConnectionPermutationHandle* permutation, const std::vector<std::string>* names) {
  guarded([&] { permutation->object->setExternalOrder(names); });
}

void setExternalOrderWithConnRowTypeAsParam(ConnectionPermutationHandle* permutation, ConnectionRowType* type) {
  guarded([&] { permutation->object->setExternalOrder(type); });
}

void setExternalCount(ConnectionPermutationHandle* permutation, int count) {
  guarded([&] { permutation->object->setExternalCount(count); });
}

int plat2extWithFieldName(ConnectionPermutationHandle* permutation, const char* name, const char** out) {
  return guarded(0, [&] { return permutation->object->plat2ext(name, out) ? 1 : 0; });
}

int plat2extWithFieldNum(ConnectionPermutationHandle* permutation, int position, int* out) {
  return permutation->object->plat2ext(position, out) ? 1 : 0;
}

int ext2platWithFieldName(ConnectionPermutationHandle* permutation, const char* name, const char** out) {
  return guarded(0, [&] { return permutation->object->ext2plat(name, out) ? 1 : 0; });
}

int ext2platWithIndex(ConnectionPermutationHandle* permutation, int position, int* out) {
  return permutation->object->ext2plat(position, out) ? 1 : 0;
}

int permuteCsvIn(ConnectionPermutationHandle* permutation, const char* line, char separator, int withService,
                 char* out) {
  return permutation->object->permuteCsvIn(line, separator, withService != 0, out) ? 1 : 0;
}

int isFailed(ConnectionPermutationHandle* permutation) { return permutation->object->isFailed() ? 1 : 0; }

int isDirect(ConnectionPermutationHandle* permutation) { return permutation->object->isDirect() ? 1 : 0; }

int getExtOrderSize(ConnectionPermutationHandle* permutation) {
  return static_cast<int>(std::min<std::size_t>(permutation->object->externalOrder().size(), INT_MAX));
}

const char** getExtOrder(ConnectionPermutationHandle* permutation) {
  const std::vector<std::string>& order = permutation->object->externalOrder();
  auto* const names = static_cast<const char**>(std::malloc(order.size() * sizeof(const char*)));
  if (names == nullptr) return nullptr;
  std::transform(order.begin(), order.end(), names, [](const std::string& name) { return name.c_str(); });
  return names;
}

void getColumnNameFromExtOrder(ConnectionPermutationHandle* permutation, int index, char** out) {
  *out = nullptr;
  const std::vector<std::string>& order = permutation->object->externalOrder();
  const auto position = static_cast<std::size_t>(index);  // of a negative index beyond all
  if (position < order.size()) guarded([&] { *out = newText(order[position]); });
}
