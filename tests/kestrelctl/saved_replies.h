#pragma once

#include "tests/kestrelctl/program.h"
#include "tests/kestrelctl/sample_reply.h"
#include "tests/support/test_headers.h"
#include "tests/vrmsim/process.h"

namespace kestrelvisor::ctl::test {

using vrmsim::test::TemporaryFolder;

// Replies in files, as scans keep them.
class SavedReplies : public ::testing::Test {
 protected:
  std::string save(const std::string& name, const ScanEnvironmentReply& reply) const {
    return folder.write(name, reply.SerializeAsString());
  }

  TemporaryFolder folder;
  const std::string saved = save("reply.pb", sampleReply());
};

// More of a reply than a pipe holds, in any format.
inline ScanEnvironmentReply largeReply() {
  ScanEnvironmentReply reply = sampleReply();
  for (std::uint64_t id = 10; id < 4010; ++id) {
    addRow(reply, id, 7, "machine-" + std::to_string(id), 3);
    addMachine(reply, id, "Debian", id << 20);
  }
  return reply;
}

}  // namespace kestrelvisor::ctl::test
