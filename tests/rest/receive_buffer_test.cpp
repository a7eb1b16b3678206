#include "tests/rest/rest_fixture.h"

namespace kestrelvisor::test {
namespace {

std::size_t receive(MemoryStruct& chunk, std::string piece, std::size_t itemSize = 1) {
  return KestrelVisor_rest_api::writeMemoryCallback(piece.data(), itemSize, piece.size() / itemSize,
                                                    &chunk);
}

TEST(ReceiveBuffer, GrowsByEachByteAndStaysTerminated) {
  ReceivedBody body(nullptr);
  const std::string text = "{\"a\":1}";

  for (std::size_t i = 0; i < text.size(); ++i) {
    EXPECT_EQ(receive(body.chunk(), text.substr(i, 1)), 1U);
    ASSERT_NE(body.chunk().memory, nullptr);
    EXPECT_EQ(body.chunk().size, i + 1);
    EXPECT_STREQ(body.chunk().memory, text.substr(0, i + 1).c_str());
  }
}

TEST(ReceiveBuffer, CountsItemsTimesTheirSize) {
  ReceivedBody body(nullptr);

  EXPECT_EQ(receive(body.chunk(), "abcdef", 2), 6U);

  EXPECT_EQ(body.chunk().size, 6U);
  EXPECT_STREQ(body.chunk().memory, "abcdef");
}

TEST(ReceiveBuffer, KeepsBytesThatAreZero) {
  ReceivedBody body(nullptr);

  receive(body.chunk(), std::string("a\0b", 3));
  receive(body.chunk(), "c");

  ASSERT_EQ(body.chunk().size, 4U);
  EXPECT_EQ(std::string(body.chunk().memory, 5), std::string("a\0bc\0", 5));
}

TEST(ReceiveBuffer, TakesAnEmptyChunkAsAnEmptyText) {
  ReceivedBody body(nullptr);

  EXPECT_EQ(receive(body.chunk(), ""), 0U);

  EXPECT_EQ(body.chunk().size, 0U);
  EXPECT_STREQ(body.chunk().memory, "");
}

// The state that a failed allocation leaves: nothing to copy, but the size of what was lost.
TEST(ReceiveBuffer, ReadsAsEmptyWhenItsBeginningWasLost) {
  ReceivedBody body(nullptr);
  body.chunk().size = 3;

  receive(body.chunk(), "end");

  ASSERT_EQ(body.chunk().size, 6U);
  EXPECT_STREQ(body.chunk().memory, "");
  EXPECT_EQ(std::string(body.chunk().memory, 7), std::string("\0\0\0end\0", 7));
}

TEST(ReceiveBuffer, IsEmptiedBeforeAnExchange) {
  KestrelVisor_rest_api api;
  void* curl = api.initCurl();
  curl_slist* headers = nullptr;
  MemoryStruct chunk;
  chunk.size = 9;

  api.setCurlResponse(curl, chunk);

  EXPECT_EQ(chunk.size, 0U);
  EXPECT_EQ(chunk.memory, nullptr);
  api.closeCurl(curl, headers);
  EXPECT_EQ(curl, nullptr);
}

}  // namespace
}  // namespace kestrelvisor::test
