#pragma once

#include <string_view>

// What a fuzzer, or the replay of its corpus, hands hostile texts to. Each target calls the engine
// as an operation does, and ends the process when a promise of the engine's headers does not hold:
// an exception that is not documented leaves the target.
namespace kestrelvisor::fuzz {

struct Target {
  std::string_view name;
  void (*run)(std::string_view input);
};

// Null when there is no target of that name.
const Target* findTarget(std::string_view name);

// Once, before the first target runs: no log, a fixed clock, a key for passwords.
void prepareProcess();

// Ends the process, naming the promise, unless it holds.
void require(bool holds, const char* promise);

// Tells whether a step ended without one of the exceptions that are documented for it. All others
// pass through.
template <class Documented, class... More, class Step>
bool endsWithout(const Step& step) {
  try {
    if constexpr (sizeof...(More) > 0) return endsWithout<More...>(step);
    step();
    return true;
  } catch (const Documented&) {
    return false;
  }
}

// Whether one of the answers in a script announces more datastores than a target has time for:
// records are made for as many as it says.
bool scriptAnnouncesTooManyDatastores(std::string_view script);

// --- The targets. ---

// Answers around a session.
void versions(std::string_view input);
void login(std::string_view input);
void headerBlock(std::string_view input);
void errorBody(std::string_view input);
void disableCbt(std::string_view input);

// Answers about the inventory.
void sites(std::string_view input);
void clusters(std::string_view input);
void hosts(std::string_view input);
void datastores(std::string_view input);
void machinePage(std::string_view input);
void machineDetail(std::string_view input);
void volumes(std::string_view input);
void guestSystems(std::string_view input);
void scan(std::string_view input);

// Texts.
void jsonText(std::string_view input);
void uriAndUrn(std::string_view input);
void uuid(std::string_view input);
void redaction(std::string_view input);

}  // namespace kestrelvisor::fuzz
