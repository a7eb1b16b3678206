#include "bench/scan/shape.h"

#include <array>
#include <stdexcept>

namespace kestrelvisor::bench {
namespace {

// The plain sites differ in their machines alone, so that growth shows. Each datastore of 200x500
// is there for a few hosts, as large sites have them; those of 200x500-shared are there for all of
// their clusters, whose 50 hosts the body of a datastore listing names for each.
constexpr std::array<Shape, 8> kShapes{{
    {"small", 1, 4, 1, 5, 2, 3, 0},
    {"plain-100", 4, 40, 2, 100, 2, 40, 0},
    {"plain-1000", 4, 40, 2, 1000, 2, 40, 0},  // site S
    {"plain-10000", 4, 40, 2, 10000, 2, 40, 0},
    {"plain-50000", 4, 40, 2, 50000, 2, 40, 0},
    {"200x500", 4, 200, 0, 200, 1, 500, 4},
    {"200x500-shared", 4, 200, 0, 200, 1, 500, 0},
    {"deep", 100, 10000, 0, 0, 0, 1, 0},
}};

}  // namespace

std::vector<std::string> Shape::simulatorOptions() const {
  std::vector<std::string> words;
  const auto size = [&words](const char* option, std::uint32_t value) {
    words.insert(words.end(), {option, std::to_string(value)});
  };
  size("--clusters", clusters);
  size("--hosts", hosts);
  size("--standalone-hosts", standaloneHosts);
  size("--vms", machines);
  size("--disks", disks);
  size("--datastores", datastores);
  size("--hosts-per-datastore", hostsPerDatastore);
  return words;
}

const Shape& shapeNamed(const std::string& name) {
  std::string known;
  for (const Shape& shape : kShapes) {
    if (shape.name == name) return shape;
    known += std::string(known.empty() ? "" : ", ") + shape.name;
  }
  throw std::invalid_argument("no shape is called \"" + name + "\"; there are " + known);
}

}  // namespace kestrelvisor::bench
