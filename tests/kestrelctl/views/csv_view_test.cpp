#include "kestrelctl/views/csv_view.h"

#include "tests/kestrelctl/sample_reply.h"
#include "tests/support/test_headers.h"

namespace kestrelvisor::ctl {
namespace {

std::string csvOf(const ScanEnvironmentReply& reply) {
  std::string text;
  const ReplyIndex index(reply);
  csvView(index, everythingOf(index), [&](std::string_view piece) { text += piece; });
  return text;
}

TEST(CsvView, HasALineForEachThing) {
  EXPECT_EQ(csvOf(test::sampleReply()),
            "kind,name,in,cluster,guestSystem,group,address,sizeKiB,freeKiB,disks,datastores,uuid,"
            "guid,uri\r\n"
            "site,Oslo,,,,,,,,,,,guid-1,\r\n"
            "cluster,east,Oslo,,,,,,,,,,guid-2,\r\n"
            "host,lonely,Oslo,,,,,,,,,,guid-6,\r\n"
            "host,cna,east,east,,,10.0.0.3,,,,lun,,guid-3,\r\n"
            "datastore,lun,,,,,,2147483648,536870912,,,,,/service/datastores/1\r\n"
            "machine,web,cna,east,Debian,general,,41943040,,1,lun,,guid-4,/service/vms/4\r\n"
            "machine,database,cna,east,Windows,general,,1610612736,,1,lun,,guid-5,"
            "/service/vms/5\r\n"
            "disk,,web,,,,,41943040,,,lun,,disk-4,\r\n"
            "disk,,database,,,,,1610612736,,,lun,,disk-5,\r\n");
}

TEST(CsvView, OfNothingHasItsHeadings) {
  const std::string text = csvOf(ScanEnvironmentReply());

  EXPECT_EQ(text.find("\r\n"), text.size() - 2);
}

TEST(CsvCell, IsQuotedWhereItMustBe) {
  EXPECT_EQ(csvCell("plain text"), "plain text");
  EXPECT_EQ(csvCell("a,b"), "\"a,b\"");
  EXPECT_EQ(csvCell("5\" disk"), "\"5\"\" disk\"");
  EXPECT_EQ(csvCell(""), "");
}

TEST(CsvCell, IsNoFormula) {
  for (const char* text : {"=1+1", "+1", "-1", "@SUM(A1)", "=cmd|' /C calc'!A0", "\uff1d1"}) {
    EXPECT_THAT(csvCell(text), ::testing::StartsWith("\"'")) << text;
  }
}

TEST(CsvCell, IsNoFormulaBehindASemicolonEither) {
  EXPECT_EQ(csvCell("x;=1+1;y"), "\"x;'=1+1;y\"");
  EXPECT_EQ(csvCell("x; \"=1;@a"), "\"x; \"\"'=1;'@a\"");
  EXPECT_EQ(csvCell(" =1"), "\" '=1\"");
  EXPECT_EQ(csvCell("x=1; y-2"), "\"x=1; y-2\"");
}

TEST(CsvCell, StaysOnItsLine) {
  EXPECT_EQ(csvCell("a\r\n=b"), "a\\r\\n=b");
  EXPECT_EQ(csvCell("\t=1"), "\\t=1");
}

}  // namespace
}  // namespace kestrelvisor::ctl
