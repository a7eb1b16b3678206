#include "kestrelctl/views/yaml_view.h"

#include "kestrelctl/documents/yaml_text.h"

#include <string_view>

namespace kestrelvisor::ctl {

void yamlView(const std::function<void(const Sink& json)>& write, const Sink& sink) {
  YamlText yaml;
  write([&](std::string_view json) { sink(yaml.add(json)); });
}

}  // namespace kestrelvisor::ctl
