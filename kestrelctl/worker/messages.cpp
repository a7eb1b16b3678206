#include "kestrelctl/worker/messages.h"

#include <array>
#include <utility>

namespace kestrelvisor::ctl {
namespace {

struct Kind {
  OperationKind ours;
  wire::Job::Kind theirs;
};
constexpr std::array<Kind, 3> kKinds{{{OperationKind::verify, wire::Job::VERIFY},
                                      {OperationKind::scan, wire::Job::SCAN},
                                      {OperationKind::disableCbt, wire::Job::DISABLE_CBT}}};

wire::Job::Kind wireKind(OperationKind kind) {
  for (const Kind& row : kKinds) {
    if (row.ours == kind) return row.theirs;
  }
  throw BrokenChannel("an operation that has no word");
}

// Protobuf drops a kind that it does not know.
OperationKind kindOf(const wire::Job& job) {
  for (const Kind& row : kKinds) {
    if (job.has_kind() && row.theirs == job.kind()) return row.ours;
  }
  throw BrokenChannel("an operation that nobody knows");
}

void fill(wire::Job::Connection& wired, const ConnectionOptions& connection) {
  wired.set_https(connection.manager.https);
  wired.set_host(connection.manager.host);
  wired.set_port(connection.manager.port);
  wired.set_user(connection.user);
  wired.set_certificate_file(connection.certificateFile);
  if (connection.strictTls) wired.set_strict_tls(*connection.strictTls);
  wired.set_keep_address(connection.keepAddress);
  wired.set_follow_address(connection.followAddress);
  wired.set_use_environment(connection.useEnvironment);
  wired.set_public_key_pin(connection.publicKeyPin);
}

ConnectionOptions connectionOf(const wire::Job::Connection& wired) {
  ConnectionOptions connection;
  connection.manager.https = wired.https();
  connection.manager.host = wired.host();
  connection.manager.port = static_cast<std::uint16_t>(wired.port());
  connection.user = wired.user();
  connection.certificateFile = wired.certificate_file();
  if (wired.has_strict_tls()) connection.strictTls = wired.strict_tls();
  connection.keepAddress = wired.keep_address();
  connection.followAddress = wired.follow_address();
  connection.useEnvironment = wired.use_environment();
  connection.publicKeyPin = wired.public_key_pin();
  return connection;
}

void fill(wire::Accounting& wired, const Accounting& accounting) {
  wired.set_counted(accounting.counted);
  wired.set_recorded(accounting.recorded);
  wired.set_templates(accounting.templates);
  wired.set_linked_clones(accounting.linkedClones);
  wired.set_out_of_scope(accounting.outOfScope);
  wired.set_unreadable_uuid(accounting.unreadableUuid);
  wired.set_unread_data(accounting.unreadData);
  wired.set_vanished(accounting.vanished);
}

Accounting accountingOf(const wire::Accounting& wired) {
  Accounting accounting;
  accounting.counted = wired.counted();
  accounting.recorded = wired.recorded();
  accounting.templates = wired.templates();
  accounting.linkedClones = wired.linked_clones();
  accounting.outOfScope = wired.out_of_scope();
  accounting.unreadableUuid = wired.unreadable_uuid();
  accounting.unreadData = wired.unread_data();
  accounting.vanished = wired.vanished();
  return accounting;
}

// A number that is none of ours counts as what cannot be read.
ExitCode exitCodeOf(std::int32_t number) {
  const bool known = number >= static_cast<int>(ExitCode::wrongUsage) &&
                     number <= static_cast<int>(ExitCode::unreadableAnswer);
  return known ? static_cast<ExitCode>(number) : ExitCode::unreadableAnswer;
}

}  // namespace

wire::Job jobOf(const OperationRequest& request) {
  wire::Job job;
  job.set_kind(wireKind(request.kind));
  fill(*job.mutable_connection(), request.connection);
  if (request.log.level) job.mutable_log()->set_level(*request.log.level);
  job.mutable_log()->set_file(request.log.file);
  job.set_machine_uri(request.machineUri);
  job.set_keeps_tester_dump(request.keepsTesterDump);
  return job;
}

OperationRequest requestOf(const wire::Job& job) {
  OperationRequest request;
  request.kind = kindOf(job);
  request.connection = connectionOf(job.connection());
  if (job.log().has_level()) request.log.level = job.log().level();
  request.log.file = job.log().file();
  request.machineUri = job.machine_uri();
  request.keepsTesterDump = job.keeps_tester_dump();
  return request;
}

wire::Event readyEvent() {
  wire::Event event;
  event.mutable_ready();
  return event;
}

wire::Event sessionsEvent(std::uint64_t open, bool loggedIn) {
  wire::Event event;
  event.mutable_sessions()->set_open(open);
  event.mutable_sessions()->set_logged_in(loggedIn);
  return event;
}

wire::Event changeEvent(bool outcomeUnknown) {
  wire::Event event;
  event.mutable_change()->set_outcome_unknown(outcomeUnknown);
  return event;
}

wire::Event eventOf(const Warning& warning) {
  wire::Event event;
  event.mutable_warning()->set_kind(warning.kind);
  event.mutable_warning()->set_text(warning.text);
  return event;
}

wire::Event progressEvent(const ScanCounts& counts) {
  wire::Event event;
  wire::Progress& progress = *event.mutable_progress();
  progress.set_phase(static_cast<std::uint32_t>(counts.phase));
  progress.set_objects(counts.objects);
  if (counts.objectsExpected) progress.set_objects_expected(*counts.objectsExpected);
  progress.set_exchanges(counts.exchanges);
  progress.set_listings(counts.listings);
  if (counts.exchangesExpected) progress.set_exchanges_expected(*counts.exchangesExpected);
  if (counts.listingsExpected) progress.set_listings_expected(*counts.listingsExpected);
  return event;
}

ScanCounts countsOf(const wire::Progress& progress) {
  constexpr auto kLast = static_cast<std::uint32_t>(ScanPhase::reply);
  if (progress.phase() > kLast) throw BrokenChannel("a phase that nobody knows");
  ScanCounts counts;
  counts.phase = static_cast<ScanPhase>(progress.phase());
  counts.objects = progress.objects();
  if (progress.has_objects_expected()) counts.objectsExpected = progress.objects_expected();
  counts.exchanges = progress.exchanges();
  counts.listings = progress.listings();
  if (progress.has_exchanges_expected()) counts.exchangesExpected = progress.exchanges_expected();
  if (progress.has_listings_expected()) counts.listingsExpected = progress.listings_expected();
  return counts;
}

wire::Event eventOf(const OperationResult& result, std::size_t largestFrame) {
  wire::Event event;
  wire::Done& done = *event.mutable_done();
  done.set_guid(result.guid);
  const bool isWhole = result.reply.SerializeToString(done.mutable_reply());
  done.set_tester_dump(result.testerDump);
  if (result.accounting) fill(*done.mutable_accounting(), *result.accounting);
  if (isWhole && event.ByteSizeLong() <= largestFrame) return event;
  Failure failure(ExitCode::unreadableAnswer, "the result is larger than 2 GiB");
  failure.hint = "it can be had without --tester-dump, if the dump makes it so large";
  throw failure;
}

wire::Event eventOf(const Failure& failure) {
  wire::Event event;
  wire::Failed& failed = *event.mutable_failed();
  failed.set_exit_code(static_cast<std::int32_t>(failure.exitCode));
  failed.set_what(failure.what());
  for (const Failure::Fact& fact : failure.facts) {
    wire::Failed::Fact& added = *failed.add_facts();
    added.set_label(fact.label);
    added.set_text(fact.text);
  }
  failed.set_hint(failure.hint);
  if (failure.operationStatus) failed.set_operation_status(*failure.operationStatus);
  if (failure.detailId) failed.set_detail_id(*failure.detailId);
  failed.set_manager_code(failure.managerCode);
  failed.set_text(failure.text);
  return event;
}

OperationResult resultOf(const wire::Done& done) {
  OperationResult result;
  result.guid = done.guid();
  if (!result.reply.ParseFromString(done.reply())) throw BrokenChannel("no reply can be read");
  result.testerDump = done.tester_dump();
  if (done.has_accounting()) result.accounting = accountingOf(done.accounting());
  return result;
}

Warning warningOf(const wire::Warning& warning) { return {warning.kind(), warning.text()}; }

Failure failureOf(const wire::Failed& failed) {
  Failure failure(exitCodeOf(failed.exit_code()), failed.what());
  for (const wire::Failed::Fact& fact : failed.facts()) {
    failure.facts.push_back({fact.label(), fact.text()});
  }
  failure.hint = failed.hint();
  if (failed.has_operation_status()) failure.operationStatus = failed.operation_status();
  if (failed.has_detail_id()) failure.detailId = failed.detail_id();
  failure.managerCode = failed.manager_code();
  failure.text = failed.text();
  return failure;
}

void sendMessage(Channel& channel, const google::protobuf::MessageLite& message) {
  std::string frame;
  if (!message.SerializeToString(&frame)) throw BrokenChannel("a message is too large");
  channel.send(frame);
}

void readMessage(const std::string& frame, google::protobuf::MessageLite& message) {
  if (!message.ParseFromString(frame)) throw BrokenChannel("a message cannot be read");
}

}  // namespace kestrelvisor::ctl
