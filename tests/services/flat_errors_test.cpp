#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "kyv/flat.h"
#include "kyv/mutexes.h"
#include "services/errors_handle.h"
#include "services/handle_cell.h"

namespace {

struct DeleteErrors {
  void operator()(ConnectionErrorsHandle* errors) const { deleteConnectionErrors(errors); }
};
using Errors = std::unique_ptr<ConnectionErrorsHandle, DeleteErrors>;

// The report as a string; `nothing` when none is stored.
std::string takeReport(ConnectionErrorsHandle* errors, const char* nothing = "(none)") {
  char* report = nullptr;
  getAdapterError(errors, &report);
  const std::string text = report == nullptr ? nothing : report;
  deleteL10NMessage(report);
  return text;
}

TEST(FlatErrors, GivesOneReportAndStartsAfresh) {
  const Errors errors(createConnectionErrors());
  EXPECT_TRUE(empty(errors.get()));
  std::string message = "A";
  addGeneral(errors.get(), message.c_str());
  message = "changed afterwards";
  addGeneral(errors.get(), "B");
  addParam(errors.get(), "port", "X");
  EXPECT_FALSE(empty(errors.get()));
  EXPECT_EQ(sizeConnectionErrors(errors.get()), 3);

  EXPECT_EQ(takeReport(errors.get()), "Parameter port: X\nA\nB");
  EXPECT_EQ(sizeConnectionErrors(errors.get()), 0);
  EXPECT_EQ(takeReport(errors.get()), "(none)");

  addGeneral(errors.get(), "");
  EXPECT_EQ(takeReport(errors.get()), "") << "an empty message is one all the same";
  addParam(errors.get(), "port", "Y");
  clearConnectionErrors(errors.get());
  EXPECT_TRUE(empty(errors.get()));
}

TEST(FlatErrors, TakesNullForNothing) {
  EXPECT_TRUE(empty(nullptr));
  EXPECT_EQ(sizeConnectionErrors(nullptr), 0);
  addGeneral(nullptr, "a");
  addParam(nullptr, "port", "a");
  clearConnectionErrors(nullptr);
  deleteConnectionErrors(nullptr);
  EXPECT_EQ(takeReport(nullptr), "(none)");

  const Errors errors(createConnectionErrors());
  addGeneral(errors.get(), nullptr);
  addParam(errors.get(), nullptr, "a");
  addParam(errors.get(), "port", nullptr);
  EXPECT_TRUE(empty(errors.get()));
  addGeneral(errors.get(), "kept");
  getAdapterError(errors.get(), nullptr);
  EXPECT_EQ(takeReport(errors.get()), "kept");
}

TEST(FlatErrors, LosesNoMessageOfSeveralThreads) {
  constexpr int kThreads = 4;
  constexpr int kMessages = 2000;
  const Errors errors(createConnectionErrors());
  std::string reports;
  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([&errors] {
        for (int i = 0; i < kMessages; ++i) addGeneral(errors.get(), "m");
      });
    }
    for (int i = 0; i < 50; ++i) reports += takeReport(errors.get(), "");
  }
  reports += takeReport(errors.get(), "");
  EXPECT_EQ(std::count(reports.begin(), reports.end(), 'm'), kThreads * kMessages);
}

TEST(FlatErrors, HoldsTheCollectorDuringAUseAndReleasesItWhenTheUseThrows) {
  const Errors errors(createConnectionErrors());
  const int result = kyv_internal::withErrors(errors.get(), -1, [&](ConnectionErrors& collector) -> int {
    collector.addGeneral("before");
    EXPECT_EQ(pthread_mutex_trylock(&errors->mutex), EBUSY);
    throw std::runtime_error("from a callback");
  });
  EXPECT_EQ(result, -1);
  EXPECT_EQ(takeReport(errors.get()), "before");
}

struct Counted {
  explicit Counted(int& count) : alive(++count) {}
  ~Counted() { --alive; }
  int& alive;
};
struct CountedHandle {
  Counted* object;
};

TEST(HandleCell, OwnsItsObjectAndIsNullWhenMemoryIsExhausted) {
  int alive = 0;
  const auto make = [&alive] {
    EXPECT_EQ(pthread_mutex_trylock(&_objectMutex), EBUSY);
    return std::make_unique<Counted>(alive);
  };
  CountedHandle* cell = kyv_internal::makeCell<CountedHandle>(_objectMutex, make);
  Counted** bare = kyv_internal::makeCell<Counted*>(_objectMutex, make);
  EXPECT_EQ(alive, 2);
  kyv_internal::deleteCell(cell);
  kyv_internal::deleteCell(bare);
  EXPECT_EQ(alive, 0);

  kyv_internal::deleteCell(
      kyv_internal::makeCell<CountedHandle>(_objectMutex, [] { return std::unique_ptr<Counted>(); }));
  kyv_internal::deleteCell<CountedHandle>(nullptr);
  const auto exhausted = []() -> std::unique_ptr<Counted> { throw std::bad_alloc(); };
  EXPECT_EQ(kyv_internal::makeCell<CountedHandle>(_objectMutex, exhausted), nullptr);
  EXPECT_EQ(pthread_mutex_trylock(&_objectMutex), 0) << "released again";
  pthread_mutex_unlock(&_objectMutex);
}

}  // namespace
