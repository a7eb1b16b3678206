// What the expansion does with a list that no query of the engine gives: one whose first object
// claims to be a host and is none. The linker puts the function below in the place of the query
// for machines.

#include "engine/kestrelvisor_public.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"
#include "tests/tree/inventory_objects.h"

namespace {

std::vector<std::string> askedScopes;

}  // namespace

extern "C" bool KV_WRAPPED_QUERY(KestrelVisor_rest_api*, VRM_INFO&, const std::string& scope,
                                 KestrelVisorPublic::ObjectList& result,
                                 KestrelVisorErrorMessage&) {
  askedScopes.push_back(scope);
  if (scope == kestrelvisor::test::hostUrn(1)) {
    const auto impostor = kestrelvisor::test::machineObject(9);
    impostor->type = 5;
    result = {impostor, kestrelvisor::test::machineObject(1)};
  }
  return true;
}

namespace {

using namespace kestrelvisor::test;
using ::testing::ElementsAre;

TEST(Impostor, LeavesItsParentALeafAndIsNotAskedForAgain) {
  LogCapture log;
  VRM_INFO vrm;
  KestrelVisorErrorMessage error;
  KestrelVisorPublic engine;
  tree<kestrelVisor_TreeNode> tree;
  ObjectIndex index;
  KestrelVisorPublic::ObjectList hosts{hostObject(1), hostObject(2)};
  engine.AddChildNodesToTree(index, tree.add_root({}), tree, hosts);

  EXPECT_TRUE(engine.CreateTablesSub(vrm, index, tree, error));

  EXPECT_THAT(askedScopes, ElementsAre(hostUrn(1), hostUrn(2)));
  EXPECT_EQ(tree.end, 3U);
  EXPECT_TRUE(log.has(4, "Invalid parameter of cna !"));
  askedScopes.clear();
}

}  // namespace
