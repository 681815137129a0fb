#pragma once

// The platform's system library: localised messages by module, and a few text functions of the C library under names of
// their own.
//
// Messages: a module is a named set of texts, each under an id, in several languages. The language is that of the
// environment when the module is first asked for (LC_ALL, LC_MESSAGES, LANG, or what the process gave to setlocale); a
// text that the language lacks is taken in English. Parameters replace {0}, {1} and so on, in any order. All texts are
// UTF-8; bytes of a parameter that are not become U+FFFD.
//
// Where texts lie: MODULE/LANGUAGE.res in the folder that the environment variable KYV_MESSAGES_DIR names, else in
// kyv/messages beside this library, else in the installed data folder. MODULE/root.res has the English texts. The files
// are compiled with ICU's genrb.
//
// Threads: everything here may be called from any thread at once.

#include <cstddef>
#include <memory>
#include <string>

#include "kyv/export.h"

namespace kyv_internal {
class MessageBundle;
}

namespace DALVON::Kyv {

// The messages of one module. Made by ErrorUtility; a module without any text has one of these too.
class KYV_EXPORT ModuleErrors {
 public:
  // Opens the texts of `module` in `folder`, an absolute path. Throws only when memory is exhausted, as getMessage
  // does.
  ModuleErrors(const std::string& folder, const std::string& module);
  ~ModuleErrors();
  ModuleErrors(const ModuleErrors&) = delete;
  ModuleErrors& operator=(const ModuleErrors&) = delete;

  // The finished message. An id that the module lacks, or whose text is malformed, gives the id followed by the
  // parameters, each after a blank. A parameter that is not given leaves its {N} in the message.
  std::string getMessage(const std::string& id) const;
  std::string getMessage(const std::string& id, const std::string& p1) const;
  std::string getMessage(const std::string& id, const std::string& p1, const std::string& p2) const;
  std::string getMessage(const std::string& id, const std::string& p1, const std::string& p2,
                         const std::string& p3) const;
  std::string getMessage(const std::string& id, const std::string& p1, const std::string& p2, const std::string& p3,
                         const std::string& p4) const;
  std::string getMessage(const std::string& id, const std::string& p1, const std::string& p2, const std::string& p3,
                         const std::string& p4, const std::string& p5) const;
  // The same with `count` parameters; a null one is an empty text, and a count below 1 is none.
  std::string getMessage(const std::string& id, const char* const* parameters, int count) const;

 private:
  std::unique_ptr<const kyv_internal::MessageBundle> bundle_;
};

// The way to the modules.
class KYV_EXPORT ErrorUtility {
 public:
  // Decides where messages lie. The first getModuleErrors does it otherwise; later changes of the environment and of
  // the working directory have no effect.
  static void initialize();

  // The messages of a module, the same for every call with its name. Never null; valid as long as the process runs, in
  // destructors of static objects too.
  static ModuleErrors* getModuleErrors(const std::string& module);
};

// As the C library's snprintf.
KYV_EXPORT int intl_snprintf(char* out, std::size_t size, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

// Copies as much of `source` as fits before a terminator, which is always written unless `size` is 0. Returns the
// length of `source`: a result of `size` or more says that the copy is cut.
KYV_EXPORT std::size_t intl_strlcpy(char* out, const char* source, std::size_t size);

// The value of an environment variable, null without one; valid until the environment changes.
KYV_EXPORT const char* intl_getenv(const char* name);

}  // namespace DALVON::Kyv
