#include "tree/tree.h"

#include "tests/support/test_headers.h"
#include "tree/tree_node.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using TextTree = tree<std::string>;

std::vector<std::string> walk(TextTree& tree) {
  std::vector<std::string> nodes;
  for (TextTree::iterator node(tree); !node.atEnd(); ++node) nodes.push_back(*node);
  return nodes;
}

std::vector<std::string> walkLeaves(TextTree& tree) {
  std::vector<std::string> leaves;
  TextTree::leaf_iterator leaf(tree);
  for (leaf.getLeaf(); !leaf.atEnd(); ++leaf) leaves.push_back(*leaf);
  return leaves;
}

std::vector<std::uint64_t> childrenOf(const TextTree& tree, std::uint64_t position) {
  std::vector<std::uint64_t> children;
  const auto [first, last] = boost::out_edges(position, tree.graph);
  for (auto edge = first; edge != last; ++edge) {
    children.push_back(boost::target(*edge, tree.graph));
  }
  return children;
}

TEST(Tree, StartsEmptyWithAllPositionsAtZero) {
  TextTree tree;
  EXPECT_EQ(tree.root, 0U);
  EXPECT_EQ(tree.begin, 0U);
  EXPECT_EQ(tree.end, 0U);
  EXPECT_EQ(boost::num_vertices(tree.graph), 0U);
  EXPECT_THAT(walk(tree), IsEmpty());
}

TEST(Tree, HasVirtualDestructorsAndItsFieldsInOrder) {
  EXPECT_TRUE(std::has_virtual_destructor_v<TextTree>);
  EXPECT_TRUE(std::has_virtual_destructor_v<TextTree::iterator_base>);
  EXPECT_TRUE((std::is_base_of_v<TextTree::iterator_base, TextTree::iterator>));
  EXPECT_TRUE((std::is_base_of_v<TextTree::iterator_base, TextTree::leaf_iterator>));
  const TextTree tree;
  EXPECT_LT(static_cast<const void*>(&tree.graph), static_cast<const void*>(&tree.root));
  EXPECT_LT(&tree.root, &tree.begin);
  EXPECT_LT(&tree.begin, &tree.end);
}

TEST(Tree, ShowsWhatAnIteratorConsistsOf) {
  TextTree tree;
  tree.add_root("root");
  const TextTree::iterator node(tree);
  const TextTree::leaf_iterator leaf(tree);
  EXPECT_EQ(node.position, tree.begin);
  EXPECT_EQ(node.owner, &tree);
  EXPECT_EQ(leaf.position, tree.begin);
  EXPECT_EQ(leaf.owner, &tree);
  EXPECT_LT(static_cast<const void*>(&node.position), static_cast<const void*>(&node.owner));
  EXPECT_LT(static_cast<const void*>(&leaf.position), static_cast<const void*>(&leaf.owner));
}

TEST(Tree, PutsTheRootAtTheFirstPosition) {
  TextTree tree;
  const TextTree::iterator root = tree.add_root("root");
  EXPECT_EQ(root.position, 0U);
  EXPECT_EQ(*root, "root");
  EXPECT_EQ(tree.root, 0U);
  EXPECT_EQ(tree.begin, 0U);
  EXPECT_EQ(tree.end, 1U);
}

TEST(Tree, GivesChildrenIncreasingPositionsInOrderOfInsertion) {
  TextTree tree;
  tree.add_root("root");
  EXPECT_EQ(tree.add_child(0, "a"), 1U);
  EXPECT_EQ(tree.add_child(0, "b"), 2U);
  EXPECT_EQ(tree.add_child(1, "a1"), 3U);
  EXPECT_EQ(tree.add_child(0, "c"), 4U);
  EXPECT_EQ(tree.end, 5U);
  EXPECT_THAT(childrenOf(tree, 0), ElementsAre(1U, 2U, 4U));
  EXPECT_THAT(childrenOf(tree, 1), ElementsAre(3U));
}

TEST(Tree, WalksAllNodesAndAllLeavesInOrderOfInsertion) {
  TextTree tree;
  tree.add_root("root");
  tree.add_child(0, "a");
  tree.add_child(0, "b");
  tree.add_child(1, "a1");
  EXPECT_THAT(walk(tree), ElementsAre("root", "a", "b", "a1"));
  EXPECT_THAT(walkLeaves(tree), ElementsAre("b", "a1"));
}

TEST(Tree, LeavesALeafIteratorAtTheEndOfAnEmptyTree) {
  TextTree tree;
  TextTree::leaf_iterator leaf(tree);
  leaf.getLeaf();
  EXPECT_EQ(leaf.position, tree.end);
  EXPECT_TRUE(leaf.atEnd());
}

TEST(Tree, CountsALonelyRootAsALeafOnce) {
  TextTree tree;
  tree.add_root("root");
  EXPECT_THAT(walkLeaves(tree), ElementsAre("root"));
}

TEST(Tree, DoesNotCountALeafThatGotAChild) {
  TextTree tree;
  tree.add_root("root");
  EXPECT_TRUE(tree.isLeaf(0));
  tree.add_child(0, "a");
  EXPECT_FALSE(tree.isLeaf(0));
  EXPECT_TRUE(tree.isLeaf(1));
}

TEST(Tree, KeepsALeafIteratorOnTheLeafWhereItStands) {
  TextTree tree;
  tree.add_root("root");
  tree.add_child(0, "a");
  TextTree::leaf_iterator leaf(tree);
  EXPECT_EQ(leaf.position, 0U);  // on the first node, leaf or not
  leaf.getLeaf();
  leaf.getLeaf();
  EXPECT_EQ(leaf.position, 1U);
}

TEST(Tree, ShowsARunningWalkTheNodesThatAreAddedMeanwhile) {
  TextTree tree;
  tree.add_root("0");
  std::vector<std::string> seen;
  for (TextTree::iterator node(tree); !node.atEnd(); ++node) {
    seen.push_back(*node);
    if (tree.end < 200) tree.add_child(node.position, std::to_string(tree.end));
  }
  ASSERT_EQ(seen.size(), 200U);
  EXPECT_EQ(seen.back(), "199");
}

TEST(Tree, ShowsARunningLeafWalkTheLeavesThatAreAddedMeanwhile) {
  TextTree tree;
  tree.add_root("root");
  std::vector<std::string> seen;
  TextTree::leaf_iterator leaf(tree);
  for (leaf.getLeaf(); !leaf.atEnd(); ++leaf) {
    seen.push_back(*leaf);
    if (seen.size() == 1) {
      tree.add_child(leaf.position, "a");
      tree.add_child(leaf.position, "b");
    }
  }
  EXPECT_THAT(seen, ElementsAre("root", "a", "b"));
}

TEST(Tree, HangsASecondRootBelowTheFirst) {
  TextTree tree;
  tree.add_root("old");
  const TextTree::iterator root = tree.add_root("new");
  EXPECT_EQ(root.position, 1U);
  EXPECT_EQ(tree.root, 1U);
  EXPECT_EQ(tree.begin, 0U);
  EXPECT_EQ(tree.end, 2U);
  EXPECT_THAT(childrenOf(tree, 0), ElementsAre(1U));
  EXPECT_THAT(walk(tree), ElementsAre("old", "new"));
}

TEST(Tree, HangsAThirdRootBelowTheSecond) {
  TextTree tree;
  tree.add_root("1");
  tree.add_root("2");
  tree.add_root("3");
  EXPECT_EQ(tree.root, 2U);
  EXPECT_THAT(childrenOf(tree, 0), ElementsAre(1U));
  EXPECT_THAT(childrenOf(tree, 1), ElementsAre(2U));
}

TEST(Tree, KeepsNodesByValueAtTheirPositions) {
  TextTree tree;
  std::string node = "root";
  tree.add_root(node);
  node = "changed";
  for (int i = 0; i < 100; ++i) tree.add_child(0, std::to_string(i));
  EXPECT_EQ(tree.node(0), "root");
  EXPECT_EQ(tree.node(100), "99");
}

TEST(Tree, MovesItsNodesWhenItGrows) {
  static_assert(
      std::is_nothrow_move_constructible_v<tree<kestrelVisor_TreeNode>::graph_t::stored_vertex>);
  TextTree tree;
  tree.add_root(std::string(100, 'r'));
  const char* const text = tree.node(0).data();
  for (int i = 0; i < 1000; ++i) tree.add_child(0, "a");
  EXPECT_EQ(tree.node(0).data(), text);
}

TEST(Tree, TakesCopiesOfItsOwnNodesWhileItGrows) {
  TextTree tree;
  tree.add_root(std::string(100, 'r'));
  for (int i = 0; i < 100; ++i) tree.add_child(0, tree.node(0));
  EXPECT_EQ(tree.node(0), std::string(100, 'r'));
  EXPECT_EQ(tree.node(100), std::string(100, 'r'));
}

TEST(Tree, MakesRoomForMoreNodesAtOnce) {
  TextTree tree;
  tree.add_root("root");
  tree.reserveMore(50);
  const std::string* const root = &tree.node(0);
  for (int i = 0; i < 50; ++i) tree.add_child(0, "a");
  EXPECT_EQ(&tree.node(0), root);
}

// Otherwise a tree of many small families would be moved once for each.
TEST(Tree, DoublesHoweverFewNodesAreAnnouncedAtATime) {
  TextTree tree;
  tree.add_root("root");
  int moves = 0;
  for (int i = 0; i < 1000; ++i) {
    const std::string* const before = &tree.node(0);
    tree.reserveMore(1);
    if (&tree.node(0) != before) ++moves;
    tree.add_child(0, "a");
  }
  EXPECT_LE(moves, 10);
}

TEST(Tree, LetsANodeBeChangedThroughAnIterator) {
  TextTree tree;
  const TextTree::iterator root = tree.add_root("root");
  root->append("!");
  EXPECT_EQ(std::as_const(tree).node(0), "root!");
}

// A copy of the tree copies its nodes.
TEST(Tree, IsCopiedByValue) {
  TextTree tree;
  tree.add_root("root");
  TextTree copy(tree);
  copy.add_child(0, "a");
  EXPECT_EQ(tree.end, 1U);
  EXPECT_THAT(walk(copy), ElementsAre("root", "a"));
}

}  // namespace
