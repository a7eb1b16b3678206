#include "kestrelctl/views/dot_view.h"

#include "tests/kestrelctl/sample_reply.h"
#include "tests/support/test_headers.h"

namespace kestrelvisor::ctl {
namespace {

std::string dotOf(const ScanEnvironmentReply& reply) {
  std::string text;
  dotView(ReplyIndex(reply), [&](std::string_view piece) { text += piece; });
  return text;
}

TEST(DotView, DrawsWhatStandsInWhat) {
  EXPECT_EQ(dotOf(test::sampleReply()),
            "digraph environment {\n"
            "  rankdir=LR;\n"
            "  d0 [label=\"lun\", shape=cylinder];\n"
            "  o0 [label=\"Oslo\", shape=house];\n"
            "  o1 [label=\"east\", shape=folder];\n"
            "  o0 -> o1;\n"
            "  o2 [label=\"lonely\", shape=box3d];\n"
            "  o0 -> o2;\n"
            "  o3 [label=\"cna\", shape=box3d];\n"
            "  o1 -> o3;\n"
            "  o3 -> d0 [style=dashed];\n"
            "  o4 [label=\"web\", shape=box];\n"
            "  o3 -> o4;\n"
            "  o5 [label=\"database\", shape=box];\n"
            "  o3 -> o5;\n"
            "}\n");
}

TEST(DotView, ShowsEntitiesToTheLetter) {
  ScanEnvironmentReply reply;
  test::addRow(reply, 1, 7, "a&lt;b", std::nullopt);

  EXPECT_THAT(dotOf(reply), ::testing::HasSubstr("[label=\"a&amp;lt;b\", shape=box];"));
}

TEST(DotView, QuotesNames) {
  ScanEnvironmentReply reply;
  test::addRow(reply, 1, 7, "5\" \\N\n", std::nullopt);

  EXPECT_THAT(dotOf(reply), ::testing::HasSubstr("[label=\"5\\\" \\\\N\\\\n\", shape=box];"));
}

}  // namespace
}  // namespace kestrelvisor::ctl
