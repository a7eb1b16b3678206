#pragma once

#include "kestrelctl/operation.h"
#include "kestrelctl/output_format.h"

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

// Options that several commands have. Each writes to a target that must outlive the application.

namespace kestrelvisor::ctl {

// Takes a file's name; an empty one is refused.
CLI::Option* addFileOption(CLI::App& app, const char* name, std::string& target,
                           const char* description);

// Whether an option stands on the command line itself: a variable or a context may give it as well.
bool isSaid(const CLI::App& app, const char* name);

// Lets shells offer these words, parted by commas, for an argument that the command itself checks.
void offerWords(CLI::Option& argument, const std::string& words);

// The words that an option or argument is known to take; none where it takes any.
std::vector<std::string> choicesOf(const CLI::Option& option);

void addPasswordOptions(CLI::App& app, PasswordSource& source);

// What a whole reply can be shown as; the tree comes first.
std::vector<OutputFormat> formatsOfReplies();

// What a result can be shown as that is one document: the form for people comes first.
std::vector<OutputFormat> formsOfDocument(OutputFormat forPeople);

// Offers these formats; the first is the default and becomes the target's value.
void addFormatOption(CLI::App& app, OutputFormat& target, std::vector<OutputFormat> formats);

// What commands need that ask a manager.
class OperationArguments {
 public:
  void declare(CLI::App& app);
  // Of commands that take their time. Beside declare.
  void declareProgress(CLI::App& app);
  // Of commands that go as far as a manager's door, without an account. Instead of declare.
  void declareDoor(CLI::App& app);
  // What the options say, looked at as a whole, and the public key that is kept for the manager.
  // Throws a Failure of wrong usage.
  OperationRequest read(const CLI::App& app) const;
  // Likewise, with nobody to log in and any key.
  OperationRequest readDoor(const CLI::App& app) const;

 private:
  void declareManager(CLI::App& app);
  void declareUser(CLI::App& app);
  void declareAddressRules(CLI::App& app);
  void declareEnvironment(CLI::App& app);
  void declarePlaintext(CLI::App& app);
  void declareTrust(CLI::App& app);
  void declareStrictness(CLI::App& app);
  void declareTimeLimit(CLI::App& app);
  void declareLog(CLI::App& app);

  OperationRequest request_;
  std::string manager_;
  bool allowPlaintext_ = false;
  bool strictTls_ = true;
  std::string logLevel_;
  std::string timeLimit_;
};

}  // namespace kestrelvisor::ctl
