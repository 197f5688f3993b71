// The peers' own occurrence test suites (python-dateutil, libical), converted into
// tests/recurrence/peer_cases/ (see the README there), run through the public occurrence API.
// A case listed in differences.txt is a documented convention difference: it must still give
// the answer written there, or is skipped with its reason when none is written.
#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "recurrence/peer_cases/peer_case_file.h"

namespace norvik {
namespace {

struct Param {
  std::string source;
  peer::Case c;
};

void PrintTo(const Param& p, std::ostream* out) {
  *out << p.c.rule;
}

std::vector<Param> allCases() {
  std::vector<Param> out;
  for (const char* file : {"dateutil_rrule.txt", "libical_icalrecur.txt", "libical_rscale.txt"}) {
    for (auto& c : peer::readCases(std::string("tests/recurrence/peer_cases/") + file)) {
      out.push_back({file, std::move(c)});
    }
  }
  return out;
}

const std::map<std::string, peer::Difference>& differences() {
  static const auto list = peer::readDifferences("tests/recurrence/peer_cases/differences.txt");
  return list;
}

class PeerCases : public ::testing::TestWithParam<Param> {};

TEST_P(PeerCases, MatchThePeersAnswer) {
  const peer::Case& c = GetParam().c;
  SCOPED_TRACE(c.name + "\n  RRULE:" + c.rule + "\n  DTSTART:" + c.start +
               (c.from.empty() ? "" : "\n  FROM:" + c.from));
  const auto expected = peer::normalizedAll(c.expected);
  const auto found = differences().find(c.name);
  if (found != differences().end()) {
    const peer::Difference& d = found->second;
    if (!d.ours) GTEST_SKIP() << "documented difference: " << d.reason;
    const auto ours = peer::normalizedAll(*d.ours);
    ASSERT_NE(ours, expected) << "listed as a difference but written as the peer's answer";
    EXPECT_EQ(peer::expand(c, ours.size()), ours) << "documented difference: " << d.reason;
    return;
  }
  EXPECT_EQ(peer::expand(c, expected.size()), expected);
}

std::string testName(const ::testing::TestParamInfo<Param>& info) {
  std::string name = info.param.source.substr(0, info.param.source.find('.')) + "_" +
                     std::to_string(info.index) + "_" + info.param.c.name.substr(0, 48);
  for (char& ch : name) {
    if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Suites, PeerCases, ::testing::ValuesIn(allCases()), testName);

TEST(PeerCaseFiles, AllCasesAndDifferencesAreFound) {
  // A missing or misnamed data file would silently run nothing.
  EXPECT_GE(allCases().size(), 400u);
  std::set<std::string> names;
  for (const auto& p : allCases()) names.insert(p.c.name);
  for (const auto& [name, d] : differences()) {
    EXPECT_TRUE(names.count(name)) << "difference for an unknown case: " << name;
    EXPECT_FALSE(d.reason.empty()) << name;
  }
}

}  // namespace
}  // namespace norvik
