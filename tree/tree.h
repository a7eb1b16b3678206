#pragma once

#include <boost/graph/adjacency_list.hpp>
#include <boost/graph/properties.hpp>

#include <algorithm>
#include <cstdint>
#include <utility>

// A rooted tree whose nodes stand by value in one vector and are addressed by position.
//
// Both walks, over all nodes and over the leaves, run in position order, which is the order of
// insertion; a parent comes before its children. Nodes are never removed, so a position stays
// valid. A reference to a node does not: any insertion may move the vector. Positions are not
// checked.
template <class T>
class tree {
 public:
  struct _tree_node_t {
    using kind = boost::vertex_property_tag;
  };
  using graph_t = boost::adjacency_list<boost::listS, boost::vecS, boost::directedS,
                                        boost::property<_tree_node_t, T>>;

  class iterator_base {
   public:
    virtual ~iterator_base() = default;
  };

  // Walks all nodes.
  class iterator : public iterator_base {
   public:
    iterator(tree& walked, std::uint64_t start) : position(start), owner(&walked) {}
    explicit iterator(tree& walked) : iterator(walked, walked.begin) {}

    T& operator*() const { return owner->node(position); }
    T* operator->() const { return &owner->node(position); }
    iterator& operator++() {
      ++position;
      return *this;
    }
    // Reads the tree's end anew: the tree may have grown.
    bool atEnd() const { return position == owner->end; }

    std::uint64_t position;
    tree* owner;
  };

  // Walks the nodes without children. A new one stands on the first node, whatever it is, until
  // getLeaf is called.
  class leaf_iterator : public iterator_base {
   public:
    explicit leaf_iterator(tree& walked) : position(walked.begin), owner(&walked) {}

    T& operator*() const { return owner->node(position); }
    T* operator->() const { return &owner->node(position); }
    // Moves on to the next leaf, or to the end. A leaf is not left.
    void getLeaf() {
      while (!atEnd() && !owner->isLeaf(position)) ++position;
    }
    leaf_iterator& operator++() {
      ++position;
      getLeaf();
      return *this;
    }
    // Reads the tree's end anew: the tree may have grown.
    bool atEnd() const { return position == owner->end; }

    std::uint64_t position;
    tree* owner;
  };

  tree() = default;
  tree(const tree&) = default;
  tree& operator=(const tree&) = default;
  virtual ~tree() = default;

  // Adds a root. In a tree that has nodes the new root becomes a child of the old one.
  iterator add_root(const T& node) {
    const std::uint64_t position = append(T(node));
    if (begin != end) boost::add_edge(root, position, graph);
    root = position;
    refresh();
    return iterator(*this, position);
  }

  // Adds a node as the last child of a parent and returns its position.
  std::uint64_t add_child(std::uint64_t parent, T node) {
    const std::uint64_t position = append(std::move(node));
    boost::add_edge(parent, position, graph);
    refresh();
    return position;
  }

  // Makes room for more nodes at once. The vector still at least doubles when it grows, however few
  // are announced at a time.
  void reserveMore(std::uint64_t count) {
    auto& vertices = graph.m_vertices;
    const std::uint64_t wanted = vertices.size() + count;
    if (wanted > vertices.capacity()) {
      vertices.reserve(std::max<std::uint64_t>(wanted, 2 * vertices.capacity()));
    }
  }

  T& node(std::uint64_t position) { return boost::get(_tree_node_t(), graph)[position]; }
  const T& node(std::uint64_t position) const {
    return boost::get(_tree_node_t(), graph)[position];
  }

  bool isLeaf(std::uint64_t position) const { return boost::out_degree(position, graph) == 0; }

  graph_t graph;
  std::uint64_t root = 0;   // 0 in an empty tree
  std::uint64_t begin = 0;  // always 0
  std::uint64_t end = 0;    // number of nodes

 private:
  std::uint64_t append(T&& fresh) {
    // A graph takes a node only by a copy; what stands in its vector can be moved into.
    const std::uint64_t position = boost::add_vertex(graph);
    node(position) = std::move(fresh);
    return position;
  }

  void refresh() {
    begin = 0;
    end = boost::num_vertices(graph);
  }
};
