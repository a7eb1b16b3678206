#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace kestrelvisor::ctl {

// Shows an application's examples right below its description.
class HelpWithExamples : public CLI::Formatter {
 public:
  explicit HelpWithExamples(std::string examples);

  std::string make_description(const CLI::App* app) const override;
  std::string make_usage(const CLI::App* app, std::string name) const override;
  std::string make_group(std::string group, bool isPositional,
                         std::vector<const CLI::Option*> options) const override;
  std::string make_option_name(const CLI::Option* option, bool isPositional) const override;
  std::string make_option_opts(const CLI::Option* option) const override;
  std::string make_option_desc(const CLI::Option* option) const override;
  std::string make_subcommands(const CLI::App* app, CLI::AppFormatMode mode) const override;

 private:
  std::string examples_;
};

}  // namespace kestrelvisor::ctl
