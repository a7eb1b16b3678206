#pragma once

#include <locale>
#include <string>

namespace kestrelvisor::test {

// Makes the process write numbers in groups of three while it lives, as a host may do.
class GroupingLocale {
 public:
  GroupingLocale() : before_(std::locale::global(std::locale(std::locale(), new Groups))) {}
  ~GroupingLocale() { std::locale::global(before_); }
  GroupingLocale(const GroupingLocale&) = delete;
  GroupingLocale& operator=(const GroupingLocale&) = delete;

 private:
  class Groups : public std::numpunct<char> {
   protected:
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };

  std::locale before_;
};

}  // namespace kestrelvisor::test
