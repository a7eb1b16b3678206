#include "kestrelctl/commands.h"

#include "base/wipe_string.h"
#include "kestrelctl/console.h"
#include "kestrelctl/demo.h"
#include "kestrelctl/engine_session.h"
#include "kestrelctl/file_replacement.h"
#include "kestrelctl/foreign_settings.h"
#include "kestrelctl/reply_views.h"
#include "kestrelctl/standard_output_exchange.h"
#include "kestrelctl/terminal_text.h"
#include "platform/reference/logging.h"
#include "platform/reference/password_cipher.h"
#include "platform/reference/wiping_allocator.h"

#include <sstream>

namespace kestrelvisor::ctl {
namespace {

constexpr int kLogNothing = 5;
constexpr int kLogInfo = 1;

void prepareLog(const LogSettings& settings) {
  LogOptions options;
  options.file = settings.file;
  options.threshold = settings.level.value_or(settings.file.empty() ? kLogNothing : kLogInfo);
  std::string problem;
  if (!configureLogging(options, problem)) throw wrongUsage("--log-file: " + problem);
}

std::string question(const ConnectionOptions& connection) {
  return "Password of " + printable(connection.user, renderingOfTalk().utf8) + " on " +
         connection.manager.url() + ": ";
}

// Fetched only after everything else has been found usable, and gone before the network is used.
void givePassword(const ConnectionOptions& connection, EngineSession& session) {
  std::string password;
  const WipeOnExit wipe(password);
  fetchPassword(connection.password, question(connection), password);
  session.usePassword(password);
}

ExitCode verify(const Invocation& invocation) {
  const ConnectionOptions& connection = invocation.connection;
  prepareLog(invocation.log);
  EngineSession session(connection);
  givePassword(connection, session);
  const std::string guid = session.verify();
  say("The manager " + connection.manager.url() + " accepts " + connection.user + ". Its GUID:");
  printResult(guid + "\n");
  return ExitCode::success;
}

void keepReply(const ScanEnvironmentReply& reply, const std::string& path) {
  std::string bytes;
  if (!reply.SerializeToString(&bytes)) {
    throw Failure(ExitCode::partial, "the reply is too large to be kept as protobuf");
  }
  replaceFile(path, bytes);
  say("The reply is kept in " + path + ".");
}

std::string shown(const ScanEnvironmentReply& reply, ReplyFormat format) {
  const ReplyIndex index(reply);
  return format == ReplyFormat::json ? jsonView(index) : treeView(index, renderingOfResults());
}

ExitCode scan(const Invocation& invocation) {
  const ScanOptions& options = invocation.scan;
  if (!options.saveFile.empty()) checkReplaceable("--save", options.saveFile);
  if (!options.testerDumpFile.empty()) checkReplaceable("--tester-dump", options.testerDumpFile);
  prepareLog(invocation.log);

  const bool keepDump = !options.testerDumpFile.empty();
  std::stringbuf kept;
  Discard dropped;
  std::streambuf& dump = keepDump ? static_cast<std::streambuf&>(kept) : dropped;
  EngineSession session(invocation.connection);
  givePassword(invocation.connection, session);
  ScanEnvironmentReply reply;
  const std::size_t leftOut = session.scan(reply, dump);

  if (!options.saveFile.empty()) keepReply(reply, options.saveFile);
  if (keepDump) replaceFile(options.testerDumpFile, kept.str());
  printResult(shown(reply, options.format));
  if (leftOut == 0) return ExitCode::success;
  warn(counted(leftOut, "machine") + " could not be read and " + (leftOut == 1 ? "is" : "are") +
       " missing here; --log-level warning names them");
  return ExitCode::partial;
}

ExitCode disableCbt(const Invocation& invocation) {
  prepareLog(invocation.log);
  EngineSession session(invocation.connection);
  givePassword(invocation.connection, session);
  session.disableCbt(invocation.machineUri);
  printResult("Changed-block tracking is off: " +
              printable(invocation.machineUri, renderingOfResults().utf8) + "\n");
  return ExitCode::success;
}

// Makes a key, keeps it in a new file and uses it.
void makeKey(const std::string& path) {
  std::string key;
  const WipeOnExit wipe(key);
  std::string problem;
  if (!generateKey(key, problem) || !setPasswordKey(key, problem)) {
    throw wrongUsage("--new-key: " + problem);
  }
  createFile(path, key + "\n");
  say("The key is in " + path + "; hosts find it by KESTRELVISOR_PASSWORD_KEY_FILE.");
}

ExitCode encryptPasswordOfUser(const EncryptOptions& options) {
  std::string problem;
  if (options.newKeyFile.empty() && !hasPasswordKey(problem)) {
    throw wrongUsage(problem,
                     "--new-key FILE makes a key; KESTRELVISOR_PASSWORD_KEY_FILE names the file of "
                     "one that is there");
  }
  if (!options.newKeyFile.empty()) checkCreatable("--new-key", options.newKeyFile);
  std::string password;
  const WipeOnExit wipe(password);
  fetchPassword(options.password, "Password to encrypt: ", password);
  if (!options.newKeyFile.empty()) makeKey(options.newKeyFile);
  std::string cipher;
  if (!encryptPassword(password, cipher, problem)) throw wrongUsage(problem);
  forgetPasswordKey();
  printResult(cipher + "\n");
  return ExitCode::success;
}

// libcurl and OpenSSL read the environment when they start, and the allocators start them.
void prepareLibraries(bool useEnvironment) {
  if (!useEnvironment) forgetForeignSettings();
  if (!useWipingAllocators()) {
    warn("memory that libcurl and OpenSSL free is not wiped: something used them before");
  }
}

}  // namespace

ExitCode run(const Invocation& invocation) {
  prepareLibraries(invocation.connection.useEnvironment);
  switch (invocation.command) {
    case Command::verify:
      return verify(invocation);
    case Command::scan:
      return scan(invocation);
    case Command::disableCbt:
      return disableCbt(invocation);
    case Command::encryptPassword:
      return encryptPasswordOfUser(invocation.encrypt);
    case Command::demo:
      return runDemo(invocation.demo);
    case Command::version:
      printResult("kestrelctl " KESTRELCTL_VERSION "\n");
  }
  return ExitCode::success;
}

}  // namespace kestrelvisor::ctl
