#pragma once

// The collector of an adapter's failure messages: general ones in the order in which they arrive, and messages tied to
// a named configuration parameter.
//
// Threads: not locked; one thread at a time. The handles of flat.h add a lock.

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "kyv/export.h"

class KYV_EXPORT ConnectionErrors {
 public:
  void addGeneral(const std::string& message);
  // A second message for the same parameter replaces the first in the report.
  void addParam(const std::string& parameter, const std::string& message);

  bool empty() const;
  // General messages plus parameters with a message.
  std::size_t size() const;

  // One line a message, without a final line feed: first "Parameter NAME: MESSAGE" in name order, then the general
  // ones.
  std::string report() const;
  void clear();

  const std::vector<std::string>& general() const { return general_; }

 private:
  std::map<std::string, std::string> parameters_;
  std::map<std::string, std::string> firstParameterMessages_;
  std::vector<std::string> general_;
};
