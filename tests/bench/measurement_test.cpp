#include "bench/scan/options.h"
#include "bench/scan/process_figures.h"
#include "bench/scan/request_list.h"
#include "bench/scan/shape.h"
#include "tests/support/test_headers.h"

#include <array>
#include <stdexcept>
#include <vector>

namespace kestrelvisor::bench {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;

std::string logLine(const std::string& method, const std::string& target,
                    const std::string& more = R"("status":200)") {
  return R"({"body":"","connection":12,"headers":[["Host","127.0.0.1:1234"],)"
         R"(["Accept","application/json"],["X-Auth-Token","sha256:aabbcc"]],)"
         R"("method":")" +
         method + R"(","sequence":12,)" + more + R"(,"target":")" + target +
         R"(","time":"2026-01-02T03:04:05.678Z","tls":false})";
}

TEST(RequestList, HoldsTheRequestsInTheirOrderWithTheClientsOwnToken) {
  const auto list = readRequestList(
      logLine("GET", "/service/versions") + "\n" + logLine("DELETE", "/x?y=1") + "\n", "secret");

  ASSERT_EQ(list.size(), 2U);
  EXPECT_EQ(list[0].method, "GET");
  EXPECT_EQ(list[0].target, "/service/versions");
  EXPECT_THAT(list[0].headers, ElementsAre("Accept:application/json", "X-Auth-Token:secret"));
  EXPECT_EQ(list[1].method, "DELETE");
  EXPECT_EQ(list[1].target, "/x?y=1");
}

TEST(RequestList, RefusesWhatCannotBeMadeAgain) {
  EXPECT_THROW(readRequestList("", "t"), std::invalid_argument);
  EXPECT_THROW(readRequestList("no log", "t"), std::invalid_argument);
  EXPECT_THROW(readRequestList("[1]", "t"), std::invalid_argument);
  EXPECT_THROW(readRequestList(logLine("GET", "/", R"("status":404)"), "t"), std::invalid_argument);
  std::string withBody = logLine("GET", "/");
  withBody.replace(withBody.find(R"("body":"")"), 9, R"("body":"b")");
  EXPECT_THROW(readRequestList(withBody, "t"), std::invalid_argument);
}

TEST(RequestList, LosesWhatChanceHasBrought) {
  EXPECT_EQ(withoutChance(logLine("GET", "/x"), 10),
            R"({"body":"","connection":2,"headers":[["Host","manager"],)"
            R"(["Accept","application/json"],["X-Auth-Token","sha256:aabbcc"]],)"
            R"("method":"GET","sequence":2,"status":200,"target":"/x","tls":false})");
}

TEST(ShapeNamed, TellsSiteS) {
  const Shape& site = shapeNamed("plain-1000");

  EXPECT_EQ(site.hosts, 40U);
  EXPECT_EQ(site.machines, 1000U);
  EXPECT_EQ(site.allDisks(), 2000U);
  EXPECT_EQ(site.datastores, 40U);
  EXPECT_EQ(site.nonMachines(), 45U);
  EXPECT_THAT(
      site.simulatorOptions(),
      ElementsAre("--clusters", "4", "--hosts", "40", "--standalone-hosts", "2", "--vms", "1000",
                  "--disks", "2", "--datastores", "40", "--hosts-per-datastore", "0"));
}

TEST(ShapeNamed, TellsSitesThatDifferInTheHostsOfTheirDatastoresAlone) {
  const auto few = shapeNamed("200x500").simulatorOptions();
  const auto all = shapeNamed("200x500-shared").simulatorOptions();

  EXPECT_THAT(
      few, ElementsAre("--clusters", "4", "--hosts", "200", "--standalone-hosts", "0", "--vms",
                       "200", "--disks", "1", "--datastores", "500", "--hosts-per-datastore", "4"));
  ASSERT_EQ(all.size(), few.size());
  EXPECT_THAT(std::vector(all.begin(), all.end() - 1),
              ElementsAreArray(few.begin(), few.end() - 1));
  EXPECT_EQ(all.back(), "0");
}

TEST(ShapeNamed, NamesThoseThatThereAre) {
  try {
    shapeNamed("huge");
    FAIL() << "there is no such shape";
  } catch (const std::invalid_argument& problem) {
    EXPECT_THAT(problem.what(), HasSubstr("there are small, plain-100, "));
  }
}

TEST(MeasurementOptions, AreTakenInPairs) {
  const char* const words[] = {"bench_scan", "measure", "--shape", "deep",
                               "--rounds",   "3",       "--peer",  "a --b c"};

  const Options options = readOptions(8, words);

  EXPECT_EQ(options.task, "measure");
  EXPECT_EQ(options.shape, "deep");
  EXPECT_EQ(options.transport, "http");
  EXPECT_EQ(options.rounds, 3);
  EXPECT_THAT(options.peers, ElementsAre("a --b c"));
}

TEST(MeasurementOptions, ThatAreUnknownAreRefused) {
  const char* const option[] = {"bench_scan", "measure", "--shapes", "deep"};
  EXPECT_THROW(readOptions(4, option), std::invalid_argument);
  const char* const transport[] = {"bench_scan", "measure", "--transport", "ftp"};
  EXPECT_THROW(readOptions(4, transport), std::invalid_argument);
  const char* const allocators[] = {"bench_scan", "host", "--allocators", "none"};
  EXPECT_THROW(readOptions(4, allocators), std::invalid_argument);
  const char* const alone[] = {"bench_scan", "measure", "--shape"};
  EXPECT_THROW(readOptions(3, alone), std::invalid_argument);
}

// Writes to so many bytes of its own stack.
template <std::size_t Size>
void useStack() {
  std::array<char, Size> bytes{};
  asm volatile("" : : "r"(bytes.data()) : "memory");
}

TEST(PaintedStack, TellsHowDeepItWasUsed) {
  constexpr std::size_t kMuch = std::size_t{100} * 1024;
  PaintedStack small;
  PaintedStack large;

  const std::size_t little = small.run([] {});
  const std::size_t much = large.run(useStack<kMuch>);

  EXPECT_GT(little, 0U);
  EXPECT_GE(much, kMuch);
  EXPECT_LT(much, little + kMuch + std::size_t{64} * 1024);
}

TEST(PaintedStack, HandsOnWhatTheWorkThrows) {
  PaintedStack stack;

  EXPECT_THROW(stack.run([] { throw std::domain_error("no"); }), std::domain_error);
}

// Takes memory, page by page, and gives it back.
void useMemory(std::size_t size) {
  const std::vector<char> bytes(size, 1);
  asm volatile("" : : "r"(bytes.data()) : "memory");
}

TEST(PeakMemory, IsCountedFromTheLastTimeItWasForgotten) {
  constexpr std::size_t kMuch = std::size_t{64} << 20U;
  useMemory(kMuch);
  forgetPeak();
  const long forgotten = peakKibibytes();
  useMemory(kMuch);

  // The kernel counts some pages late.
  EXPECT_GE(peakKibibytes(), forgotten + static_cast<long>(kMuch >> 10U) * 9 / 10);
}

}  // namespace
}  // namespace kestrelvisor::bench
