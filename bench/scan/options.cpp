#include "bench/scan/options.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <stdexcept>

namespace kestrelvisor::bench {
namespace {

template <std::size_t Count>
void requireOneOf(const char* const (&known)[Count], const char* what, const std::string& word) {
  if (std::find(std::begin(known), std::end(known), word) != std::end(known)) return;
  throw std::invalid_argument(std::string("unknown ") + what + " " + word);
}

}  // namespace

Options readOptions(int argc, const char* const* argv) {
  Options options;
  const std::map<std::string, std::string*> texts{
      {"--vrmsim", &options.simulator},        {"--shape", &options.shape},
      {"--transport", &options.transport},     {"--allocators", &options.allocators},
      {"--requests", &options.requests},       {"--out", &options.output},
      {"--system-store", &options.systemStore}};
  if (argc < 2) throw std::invalid_argument("measure, wiping, host, once, record or list?");
  options.task = argv[1];
  for (int at = 2; at + 1 < argc; at += 2) {
    const std::string name = argv[at];
    const auto text = texts.find(name);
    if (text != texts.end()) {
      *text->second = argv[at + 1];
    } else if (name == "--peer") {
      options.peers.emplace_back(argv[at + 1]);
    } else if (name == "--rounds") {
      options.rounds = std::stoi(argv[at + 1]);
    } else {
      throw std::invalid_argument("unknown option " + name);
    }
  }
  if (argc % 2 != 0) throw std::invalid_argument(std::string(argv[argc - 1]) + " needs a value");
  requireOneOf(kTransports, "transport", options.transport);
  requireOneOf(kAllocators, "allocators", options.allocators);
  return options;
}

}  // namespace kestrelvisor::bench
