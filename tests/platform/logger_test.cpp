#include "norvik/platform/logger.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace norvik {
namespace {

class LoggerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    previous_ =
        SVLoggerObjcWrapper::setSink([this](const SVLogRecord& r) { records_.push_back(r); });
  }
  void TearDown() override { SVLoggerObjcWrapper::setSink(previous_); }
  std::vector<SVLogRecord> records_;
  SVLoggerObjcWrapper::Sink previous_;
};

TEST_F(LoggerTest, RecordsCarryTheCallSite) {
  NV_LOG_ERROR("abnormal recurrence rule: X Y");
  ASSERT_EQ(records_.size(), 1u);
  EXPECT_EQ(records_[0].level, SVLogLevel::error);
  EXPECT_EQ(records_[0].message, "abnormal recurrence rule: X Y");
  EXPECT_NE(records_[0].filePath.find("logger_test.cpp"), std::string::npos);
  EXPECT_EQ(records_[0].function, "TestBody");
  EXPECT_GT(records_[0].line, 0);
}

TEST_F(LoggerTest, TextFormNamesFileLineAndFunction) {
  EXPECT_EQ(SVLoggerObjcWrapper::formatRecord({SVLogLevel::error, "boom", "/a/b/repair.cpp",
                                               "byDay_fixedRecurrenceRuleString", 42}),
            "ERROR repair.cpp:42 byDay_fixedRecurrenceRuleString: boom");
  EXPECT_EQ(SVLoggerObjcWrapper::formatRecord({SVLogLevel::warning, "m", "", "", 0}),
            "WARNING ?:0 ?: m");
}

TEST(LoggerConcurrency, LinesFromManyThreadsStayWhole) {
  std::vector<std::string> lines;
  auto previous = SVLoggerObjcWrapper::setSink(
      [&](const SVLogRecord& r) { lines.push_back(SVLoggerObjcWrapper::formatRecord(r)); });
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < 200; ++i) {
        SVLoggerObjcWrapper::logInfo("thread " + std::to_string(t), "f.cpp", "run", i);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  SVLoggerObjcWrapper::setSink(previous);
  ASSERT_EQ(lines.size(), 800u);
  for (const auto& line : lines) EXPECT_EQ(line.rfind("INFO f.cpp:", 0), 0u) << line;
}

}  // namespace
}  // namespace norvik
