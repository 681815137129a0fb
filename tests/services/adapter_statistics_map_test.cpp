#include "kyv/adapter_statistics_map.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

using HashMap = AdapterStatisticsMap::HashMap;
using Texts = std::vector<std::string>;

// Shows the copies.
class Statistics : public AdapterStatisticsMap {
 public:
  using AdapterStatisticsMap::ownedCopies;
};

// Cleans up before it goes, as a careful adapter does.
class CleanStatistics : public Statistics {
 public:
  ~CleanStatistics() override { cleanUpData(); }
};

HashMap mapOf(const AdapterStatisticsMap& statistics) {
  HashMap map;
  map.set("left over", "from before");
  statistics.getStatisticsMap(map);
  return map;
}

Texts namesOf(const HashMap& map) {
  Texts names;
  for (const auto& [name, value] : map) names.emplace_back(name);
  return names;
}

TEST(AdapterStatistics, KeepPrivateCopiesOfNamesAndValues) {
  CleanStatistics statistics;
  std::string name = "rows";
  std::string value = "1";
  const auto& entry = statistics.addStatistics(name.c_str(), value.c_str());
  const char* const firstName = entry.first;
  name = value = "changed";
  EXPECT_STREQ(mapOf(statistics).find("rows"), "1");

  EXPECT_EQ(&statistics.addStatistics("rows", "2"), &entry) << "an update keeps the entry";
  EXPECT_EQ(entry.first, firstName) << "and its name";
  EXPECT_STREQ(entry.second, "2");
  statistics.addStatistics("Rows", "");
  EXPECT_THAT(statistics.ownedCopies,
              testing::ElementsAre(testing::StrEq("rows"), testing::StrEq("1"), testing::StrEq("rows"),
                                   testing::StrEq("2"), testing::StrEq("Rows"), testing::StrEq("")));
  const HashMap map = mapOf(statistics);
  EXPECT_EQ(map.size(), 2U) << "letters of another case are another name";
  EXPECT_STREQ(map.find("rows"), "2");
  EXPECT_STREQ(map.find("Rows"), "");
  EXPECT_EQ(map.find("left over"), nullptr);
}

TEST(AdapterStatistics, CleanUpKeepsTheBuckets) {
  CleanStatistics statistics;
  EXPECT_EQ(mapOf(statistics).bucket_count(), 193U);
  for (int i = 0; i < 193; ++i) statistics.addStatistics(std::to_string(i).c_str(), "x");
  EXPECT_EQ(mapOf(statistics).bucket_count(), 193U);
  const auto& entry = statistics.addStatistics("7", "y");
  EXPECT_EQ(mapOf(statistics).bucket_count(), 389U) << "an update makes room as if it added a name";
  EXPECT_EQ(mapOf(statistics).size(), 193U);
  EXPECT_STREQ(entry.second, "y");

  statistics.cleanUpData();
  EXPECT_TRUE(statistics.ownedCopies.empty());
  const HashMap map = mapOf(statistics);
  EXPECT_TRUE(map.empty());
  EXPECT_TRUE(namesOf(map).empty());
  EXPECT_EQ(map.bucket_count(), 389U);
  statistics.addStatistics("again", "1");
  EXPECT_THAT(namesOf(mapOf(statistics)), testing::ElementsAre("again"));
}

TEST(StatisticsMap, OrdersEntriesByBucketAndTheNewestFirst) {
  HashMap map;
  for (const char* const name : {"\x02", "\x01", "B", "'\x01", "\x03"}) map.set(name, "x");
  EXPECT_THAT(namesOf(map), testing::ElementsAre("\x01", "\x02", "\x03", "'\x01", "B"))
      << "of hashes 1, 2, 3, 3 + 193 and 66";
  EXPECT_THAT(namesOf(HashMap(map)), testing::ElementsAreArray(namesOf(map))) << "a copy keeps the order";
  map = *&map;
  EXPECT_EQ(map.size(), 5U) << "a copy into itself does nothing";

  HashMap bytesAboveAscii;
  bytesAboveAscii.set("\x01\xFF", "5 * 1 - 1 = 4");
  bytesAboveAscii.set("\x05", "5");
  EXPECT_THAT(namesOf(bytesAboveAscii), testing::ElementsAre("\x01\xFF", "\x05"));
}

TEST(StatisticsMap, FindsEachOfManyNamesInACopyToo) {
  std::map<std::string, std::string> expected;
  for (int i = 0; i < 5000; ++i) expected["statistic " + std::to_string(i)] = std::to_string(i);
  HashMap map;
  for (const auto& [name, value] : expected) map.set(name.c_str(), value.c_str());
  EXPECT_EQ(map.bucket_count(), 6151U);
  const HashMap copy = map;
  map.clear();
  std::map<std::string, std::string> found;
  for (const auto& [name, value] : copy) found[name] = value;
  EXPECT_EQ(found, expected);
  for (const auto& [name, value] : expected) ASSERT_STREQ(copy.find(name.c_str()), value.c_str());
  EXPECT_EQ(copy.find("statistic"), nullptr);
}

TEST(AdapterStatistics, LeaveTheirCopiesBehindUnlessTheyAreCleanedUp) {
  auto statistics = std::make_unique<Statistics>();
  statistics->addStatistics("rows", "1");
  const std::vector<char*> copies = statistics->ownedCopies;
  const HashMap map = mapOf(*statistics);
  statistics.reset();
  EXPECT_STREQ(map.find("rows"), "1");
  for (char* const copy : copies) std::free(copy);
}

}  // namespace
