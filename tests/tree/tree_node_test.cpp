#include "tree/tree_node.h"

#include "platform/contract/helpers.h"
#include "tests/support/test_headers.h"
#include "tests/tree/inventory_objects.h"

#include <boost/weak_ptr.hpp>

#include <algorithm>
#include <array>
#include <type_traits>

namespace {

using namespace kestrelvisor::test;
using ::testing::IsEmpty;

TEST(TreeNode, StartsWithItsDefaults) {
  const kestrelVisor_TreeNode node;
  EXPECT_EQ(node.type, 1000);
  EXPECT_EQ(node.index, 0U);
  EXPECT_EQ(node.parentIndex, 18446744073709551615U);
  EXPECT_THAT(node.indirectParents, IsEmpty());
  EXPECT_TRUE(node.DRS);
  EXPECT_TRUE(node.isValid);
  EXPECT_TRUE(node.needExpand);
  EXPECT_EQ(node.cpu_num, 0);
  EXPECT_THAT(node.datastores, IsEmpty());
  EXPECT_TRUE(node.object.empty());
  for (const std::string* text :
       {&node.name, &node.objectStr, &node.GUID, &node.objectGUID, &node.ip, &node.arch,
        &node.cpuVendor, &node.description, &node.moRef, &node.moRefOfKind9, &node.moRefOfKind12}) {
    EXPECT_EQ(*text, "");
  }
}

TEST(TreeNode, HasItsFieldsInTheDeclaredOrder) {
  const ObjectTreeNode n;
  const std::array<const void*, 20> places{&n.type,         &n.index,        &n.name,
                                           &n.objectStr,    &n.parentIndex,  &n.indirectParents,
                                           &n.GUID,         &n.DRS,          &n.objectGUID,
                                           &n.ip,           &n.isValid,      &n.cpu_num,
                                           &n.arch,         &n.cpuVendor,    &n.description,
                                           &n.moRef,        &n.needExpand,   &n.datastores,
                                           &n.moRefOfKind9, &n.moRefOfKind12};
  EXPECT_TRUE(std::is_sorted(places.begin(), places.end(), std::less<>()));
  EXPECT_FALSE(std::is_polymorphic_v<ObjectTreeNode>);
  EXPECT_TRUE((std::is_base_of_v<ObjectTreeNode, kestrelVisor_TreeNode>));
}

TEST(TreeNode, IsCopiedDeeplyButSharesItsObject) {
  kestrelVisor_TreeNode node;
  node.name = "name";
  node.indirectParents = {1, 2};
  node.datastores.emplace_back().uri = "uri";
  const boost::shared_ptr<KestrelVisorObj> object = machineObject(1);
  node.object = object;

  const kestrelVisor_TreeNode copy(node);
  node.name = "changed";
  node.indirectParents.clear();
  node.datastores.clear();

  EXPECT_EQ(copy.name, "name");
  EXPECT_EQ(copy.indirectParents, (std::vector<std::uint64_t>{1, 2}));
  ASSERT_EQ(copy.datastores.size(), 1U);
  EXPECT_EQ(boost::any_cast<boost::shared_ptr<KestrelVisorObj>>(copy.object), object);
}

TEST(TreeNode, KeepsItsObjectAlive) {
  boost::weak_ptr<KestrelVisorObj> watched;
  {
    kestrelVisor_TreeNode node;
    {
      const boost::shared_ptr<KestrelVisorObj> object = machineObject(1);
      watched = object;
      node.object = object;
    }
    EXPECT_FALSE(watched.expired());
  }
  EXPECT_TRUE(watched.expired());
}

TEST(TreeNode, ThrowsWhenItsEmptyObjectIsRead) {
  const kestrelVisor_TreeNode node;
  EXPECT_THROW(boost::any_cast<boost::shared_ptr<KestrelVisorObj>>(node.object),
               boost::bad_any_cast);
}

TEST(ObjectIndex, NeverRepeatsAndStartsAnewForEachScan) {
  ObjectIndex index;
  const std::uint64_t first = index.getIndex();
  EXPECT_EQ(index.getIndex(), first + 1);
  EXPECT_EQ(index.getIndex(), first + 2);
  EXPECT_EQ(ObjectIndex().getIndex(), first);
}

}  // namespace
