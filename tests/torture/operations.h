#pragma once

#include "environment.pb.h"
#include "tests/torture/verdicts.h"

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kestrelvisor::torture {

// The plaintext password of the simulated manager.
inline constexpr std::string_view kPassword = "Correct-Horse-Battery-7";

// How an operation reaches its manager.
struct Route {
  bool https = false;
  EnvironmentPath path;
};

// How an operation ended.
enum class End { success, failure, exception };

// One operation of the engine, to be run again and again in one process.
class Operation {
 public:
  explicit Operation(const Route& route) : route_(route) {}
  virtual ~Operation() = default;
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  // The caches that run starts with; without an override none.
  virtual void prepareCaches();
  // The outputs and objects that run starts with.
  virtual void prepareOutputs() = 0;
  // The operation itself, under the fault. Lets out what the engine lets out.
  virtual void run() = 0;
  // Compares the outputs with what the interface promises, and says how the operation ended.
  virtual End judge(Board& board, bool threw) = 0;
  // Frees the outputs of run.
  virtual void release() {}
  // Whether run counts only in a process that has never used the engine.
  virtual bool needsFreshProcess() const { return false; }
  // Runs it once more, without a fault; tells whether it gave what it should.
  virtual bool worksNow(Board& board);

  // Runs it without a fault and keeps what comes out as the measure of later runs. False when it
  // does not succeed.
  bool learn(Board& board);
  // Reports requests of the last run that learn has not seen. In plain text only.
  void judgeRequests(Board& board) const;

 protected:
  const Route& route() const { return route_; }
  virtual void keepMeasure() {}

 private:
  const Route& route_;
  std::set<std::string, std::less<>> goodRequests_;
};

struct OperationKind {
  const char* name;
  std::unique_ptr<Operation> (*make)(const Route& route);
};
const std::vector<OperationKind>& operationKinds();

// An operation with a defect on purpose, and what the driver must find in it.
struct PlantedDefect {
  OperationKind operation;
  Kind kind;
};
const std::vector<PlantedDefect>& plantedDefects();

// A finding made by hand, and whether it must count as ours.
struct PlantedFinding {
  const char* name;
  Finding finding;
  bool ours;
};
std::vector<PlantedFinding> plantedFindings();

// Ends what the engine keeps by contract: the sessions of its clients, and what the calling thread
// keeps inside OpenSSL.
void emptyCaches();
// Makes what the platform keeps until the process ends, so that it is no leak.
void makeLastingObjects();
// Names a library that does not work in this process any more, whatever calls it; empty: none.
std::string_view deadLibrary(const Route& route);
// Whether a block is a password that the token cache keeps by contract.
bool isCachedPassword(const void* block);
// Set while a scan runs, when it starts to write the reply.
extern bool treeStood;
// Set for good when a log record holds the password.
extern bool passwordLogged;

}  // namespace kestrelvisor::torture
