#include "kestrelctl/console.h"

#include "kestrelctl/environment_variable.h"
#include "kestrelctl/terminal_text.h"

#include <fcntl.h>
#include <langinfo.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <system_error>

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kShortestLine = 40;  // prose in shorter ones is hard to read, too
constexpr std::size_t kIndent = 2;         // of what goes on in another line

// A terminal that obeys escape sequences.
bool isSmartTerminal(int stream) {
  const char* const kind = std::getenv("TERM");
  const bool dumb = kind == nullptr || std::string_view(kind) == "dumb";
  return isatty(stream) == 1 && !dumb;
}

// 0 for a text that is no number of columns.
std::size_t columnsOfVariable() {
  const char* const text = std::getenv("COLUMNS");
  std::size_t columns = 0;
  if (text == nullptr) return 0;
  const char* const end = text + std::strlen(text);
  const auto [rest, error] = std::from_chars(text, end, columns);
  return error == std::errc() && rest == end ? columns : 0;
}

// Nothing where the stream does not lead to a terminal that tells.
std::size_t columnsOfTerminal(int stream) {
  winsize size{};
  return ioctl(stream, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

// What goes to a file or a pipe is whole: whoever searches there would not find what was cut.
std::size_t widthOf(int stream) {
  if (const std::size_t columns = columnsOfVariable(); columns > 0) return columns;
  if (isatty(stream) != 1) return Rendering::kUnbounded;
  const std::size_t columns = columnsOfTerminal(stream);
  return columns > 0 ? columns : kLineWidth;
}

Rendering renderingOf(int stream) {
  const bool colour = isSmartTerminal(stream) && !isSet("NO_COLOR");
  return {colour, std::string_view(nl_langinfo(CODESET)) == "UTF-8", widthOf(stream)};
}

constexpr int kWithoutLimit = -1;

bool isWritableWithin(int stream, int milliseconds) {
  pollfd entry{stream, POLLOUT, 0};
  return poll(&entry, 1, milliseconds) == 1;
}

// Returns 0 or the system's error number.
int writeAll(int stream, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(stream, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && errno == EAGAIN) {  // whoever shares the stream does not want to wait
      isWritableWithin(stream, kWithoutLimit);
      continue;
    }
    if (count < 0) return errno;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return 0;
}

void sayRaw(const std::string& text) { static_cast<void>(writeAll(STDERR_FILENO, text + "\n")); }

// In a file or a pipe a text stays on one line, where a search finds it.
std::string brokenOnTerminal(const std::string& text, const LineStarts& starts,
                             const Rendering& rendering) {
  if (isatty(STDERR_FILENO) != 1) return text;
  return wrapped(text, rendering.columnsOfProse(), starts);
}

// A sentence behind a word that tells what kind it is; marked is that word as it is shown.
void sayMarked(const std::string& word, const std::string& marked, const std::string& text,
               const Rendering& rendering) {
  const std::string label = "kestrelctl: ";
  const LineStarts starts{label.size() + word.size() + 1, kIndent};
  sayRaw(label + marked + " " +
         brokenOnTerminal(printable(text, rendering.utf8), starts, rendering));
}

}  // namespace

std::size_t Rendering::columnsOfProse() const {
  return std::clamp(columns, kShortestLine, kLineWidth);
}

Rendering renderingOfResults() { return renderingOf(STDOUT_FILENO); }

Rendering renderingOfTalk() { return renderingOf(STDERR_FILENO); }

void printResult(std::string_view text) {
  const int error = writeAll(STDOUT_FILENO, text);
  if (error == 0) return;
  if (error == EPIPE) throw ClosedPipe();
  throw cannotBeWritten("the result on standard output", std::generic_category().message(error));
}

void say(const std::string& text) { sayRaw(printable(text, renderingOfTalk().utf8)); }

void announce(const std::string& text) {
  const Rendering rendering = renderingOfTalk();
  sayRaw("\n" + rendering.bold("==> " + printable(text, rendering.utf8)));
}

void warn(const std::string& text) {
  const Rendering rendering = renderingOfTalk();
  const std::string word = "warning:";
  sayMarked(word, rendering.magenta(word), text, rendering);
}

void warnOf(const std::vector<Warning>& warnings) {
  for (const Warning& warning : warnings) warn(warning.text);
}

void report(const Failure& failure) {
  warnOf(failure.warnings);
  const Rendering rendering = renderingOfTalk();
  const std::string word = "error:";
  sayMarked(word, rendering.red(word), failure.what(), rendering);
  const std::string hintLabel = "what to do";
  std::size_t width = failure.hint.empty() ? 0 : hintLabel.size();
  for (const Failure::Fact& fact : failure.facts) width = std::max(width, columnsOf(fact.label));
  const LineStarts starts{width + 4, width + 4};
  const auto sayFact = [&](const std::string& label, const std::string& text) {
    sayRaw("  " + rendering.bold(padRight(label, width)) + "  " + text);
  };
  for (const Failure::Fact& fact : failure.facts) {
    sayFact(fact.label, brokenOnTerminal(printable(fact.text, rendering.utf8), starts, rendering));
  }
  if (failure.hint.empty()) return;
  sayFact(hintLabel,
          wrapped(printable(failure.hint, rendering.utf8), rendering.columnsOfProse(), starts));
}

bool talkCanBeDrawnOver() { return isSmartTerminal(STDERR_FILENO); }

// The terminal's own word: a line that is wider than that cannot be drawn over.
std::size_t columnsOfTalk() {
  const std::size_t columns = columnsOfTerminal(STDERR_FILENO);
  return columns > 0 ? columns : kLineWidth;
}

// Dropped where nobody reads: whoever draws has a time limit and signals to look after.
void drawOnTalk(const std::string& bytes) {
  if (isWritableWithin(STDERR_FILENO, 0)) static_cast<void>(writeAll(STDERR_FILENO, bytes));
}

void prepareStreams() {
  // A closed standard stream gets the wrong direction on purpose: using it fails.
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) >= 0 || errno != EBADF) continue;
    static_cast<void>(open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
  }
  // Whoever ignores it for us would hide how our children end.
  std::signal(SIGCHLD, SIG_DFL);
  // Told by the write that fails; their signals would end the process untidily.
  for (const int number : {SIGPIPE, SIGXFSZ}) std::signal(number, SIG_IGN);
  std::setlocale(LC_CTYPE, "");
}

}  // namespace kestrelvisor::ctl
