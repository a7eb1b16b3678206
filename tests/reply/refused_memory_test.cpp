#include "platform/contract/platform.h"
#include "reply/proto_buffer_utility.h"
#include "tests/support/test_headers.h"
#include "tests/torture/faults/allocator.h"
#include "tree/tree_node.h"

namespace kestrelvisor::test {
namespace {

using torture::Allocator;

// Fills a reply while the nth allocation is refused; returns how many blocks nobody has freed when
// the reply is gone, and tells in refused whether it came to that allocation.
template <class Fill>
std::size_t blocksLost(std::uint64_t nth, Fill fill, bool& refused) {
  Allocator::watch("no text at all", false);
  {
    ScanEnvironmentReply reply;
    Allocator::arm({nth, false});
    try {
      fill(reply);
      refused = Allocator::disarm().failed != 0;
    } catch (const std::bad_alloc&) {
      refused = Allocator::disarm().failed != 0;
    }
  }
  const std::size_t lost = Allocator::liveCount();
  Allocator::endWatch();
  return lost;
}

template <class Fill>
void expectNothingLost(Fill fill) {
  ScanEnvironmentReply once;
  fill(once);  // what is made once in a process
  bool refused = true;
  for (std::uint64_t nth = 1; refused; ++nth) {
    EXPECT_EQ(blocksLost(nth, fill, refused), 0U) << "at allocation " << nth;
  }
}

kestrelVisor_TreeNode aHost() {
  kestrelVisor_TreeNode node;
  node.index = 1;
  node.type = kKindHost;
  node.name = "a host whose name is too long to stand in place";
  return node;
}

TEST(ReplyWithoutMemory, LosesNoTreeRecord) {
  const kestrelVisor_TreeNode node = aHost();

  expectNothingLost([&](ScanEnvironmentReply& reply) { addTreeRecord(node, 0, true, reply); });
}

TEST(ReplyWithoutMemory, LosesNoRecordOfAHost) {
  const kestrelVisor_TreeNode node = aHost();

  expectNothingLost([&](ScanEnvironmentReply& reply) { dumpNonVmObjects(node, reply); });
}

TEST(ReplyWithoutMemory, LosesNoDatastoreAndNoRelation) {
  const std::list<_datstore_ManagedObjectReference> datastores(2);

  expectNothingLost([&](ScanEnvironmentReply& reply) {
    std::map<std::string, unsigned long> ids;
    unsigned long next = 0;
    std::string text;
    dumpDataStore(reply, ids, next, 1, datastores, text);
  });
}

}  // namespace
}  // namespace kestrelvisor::test
