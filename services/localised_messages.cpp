// The messages of the catalogue module "internal-adapters" as flat functions.

#include <string>

#include "kyv/flat.h"
#include "kyv/system.h"
#include "services/handle_cell.h"

using DALVON::Kyv::ErrorUtility;
using DALVON::Kyv::ModuleErrors;
using kyv_internal::guarded;
using kyv_internal::newText;

namespace {

const ModuleErrors& openCatalogue() {
  ErrorUtility::initialize();
  return *ErrorUtility::getModuleErrors("internal-adapters");
}

// Opened on first use, once even when several threads come first together, and kept as long as the process runs.
const ModuleErrors& catalogue() {
  static const ModuleErrors& messages = openCatalogue();
  return messages;
}

template <class... Parameters>
char* newMessage(const char* id, Parameters... parameters) {
  return guarded<char*>(nullptr, [&] { return newText(catalogue().getMessage(id, parameters...)); });
}

}  // namespace

void init_i18n() {
  guarded([] { catalogue(); });
}

char* getL10NMessage(const char* id) { return newMessage(id); }

char* getL10NMessageWithParam(const char* id, const char* p1) { return newMessage(id, p1); }

char* getL10NMessageWithTwoParams(const char* id, const char* p1, const char* p2) { return newMessage(id, p1, p2); }

char* getL10NMessageWithThreeParams(const char* id, const char* p1, const char* p2, const char* p3) {
  return newMessage(id, p1, p2, p3);
}

char* getL10NMessageWithFourParams(const char* id, const char* p1, const char* p2, const char* p3, const char* p4) {
  return newMessage(id, p1, p2, p3, p4);
}

char* getL10NMessageWithFiveParams(const char* id, const char* p1, const char* p2, const char* p3, const char* p4,
                                   const char* p5) {
  return newMessage(id, p1, p2, p3, p4, p5);
}

char* getL10NMessageWithMultParams(const char* id, int count, char** params) { return newMessage(id, params, count); }

void deleteL10NMessage(char* message) { delete[] message; }

int checkErrorSeverity() { return 1; }

int getErrorSeverity() { return 1; }
