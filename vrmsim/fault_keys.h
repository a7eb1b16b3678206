#pragma once

#include "vrmsim/fault_rule.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace kestrelvisor::vrmsim {

// What a key of a rule is for. Decides which keys can stand together.
enum class FaultKeyKind {
  kRequestMatch,  // looks at a request
  kMatch,         // looks at a connection, or counts
  kAnswer,        // changes the answer
  kPace,          // makes it late
  kBreak,         // ends the conversation
  kState,         // changes the manager
  kRequestState,  // changes the manager and needs a request to know where
};

// Says what is allowed for a value: "a number from 1 to 10".
class FaultValueError : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

struct FaultKey {
  const char* name;
  const char* value;  // what stands behind the "=", for people; empty: the key stands alone
  FaultKeyKind kind;
  bool repeatable;
  const char* help;                                         // one line
  void (*read)(FaultRule& rule, const std::string& value);  // throws FaultValueError
};

// All keys that a rule can have.
const std::vector<FaultKey>& faultKeys();

// Null when there is none of that name.
const FaultKey* findFaultKey(const std::string& name);

}  // namespace kestrelvisor::vrmsim
