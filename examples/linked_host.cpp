// The smallest host that links the engine: it makes the engine, and runs the operations that its
// command line names.
//
//   export MANAGER_PASSWORD_FILE=password MANAGER_CERT_FILE=manager.pem
//   linked_host 10.1.2.3 7443 https backup verify scan disable=/service/sites/1/vms/5
//
// Ends with 0 when all succeeded, 1 when one did not, 2 for wrong usage.

#include "engine/kestrelvisor_engine.h"
#include "manager_request.h"

int main(int argc, char** argv) {
  const auto request = example::readManagerRequest(argc, argv);
  if (!request) return 2;

  if (!kestrelvisor_engine_init()) return 1;
  EngineBase& engine = KestrelVisorEngine::getKestrelVisorInstance();
  return example::runOperations(engine, *request);
  // The engine ends with the process, and logs out from every manager that it has logged in to.
}
