#pragma once

#include <string_view>
#include <vector>

namespace kestrelvisor::ctl {

// What a code belongs to. The same number may have a meaning in several.
enum class CodeKind { exit, status, detail, engine, manager, http, number, curl, blocks };

// Whether the same command may work when it is given again, with nothing changed by the user.
enum class Retry { no, yes, depends };

// What is known about one code. The texts live as long as the program and are ASCII; those behind
// the title have neither a capital in front nor a full stop at the end.
struct Explanation {
  CodeKind kind;
  const char* code;    // as it is shown; "4xx" and "128+n" stand for many
  const char* title;   // a few words
  const char* cause;   // what has happened
  const char* step;    // where in an operation it comes up
  const char* remedy;  // what the user can do
  Retry retry;
  bool ofFailures = true;  // false: no operation fails with it, so it advises nobody
};

// Tells kinds apart on the command line, and what they are.
struct KindOfCode {
  CodeKind kind;
  const char* name;
  const char* meaning;
};

// All kinds, in the order in which they are shown.
const std::vector<KindOfCode>& kindsOfCode();
const KindOfCode& kindOfCode(CodeKind kind);
// Null for a name that is none.
const KindOfCode* kindNamed(std::string_view name);

// All codes of a kind, in their order.
std::vector<const Explanation*> explanationsOf(CodeKind kind);

// What a code means in a kind; null when nothing is known. A code that only stands in a range finds
// the range's explanation: 418 that of "4xx".
const Explanation* explanationOf(CodeKind kind, std::string_view code);

// What it means in any kind.
std::vector<const Explanation*> explanationsOf(std::string_view code);

}  // namespace kestrelvisor::ctl
