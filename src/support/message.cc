#include "support/message.h"

#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "platform/files.h"
#include "platform/named_mutex.h"
#include "platform/system.h"
#include "support/environment.h"
#include "support/memory.h"
#include "support/strings.h"
#include "support/time_text.h"

namespace {

constexpr size_t kHeaderSize = 88;
constexpr size_t kTextSize = 7168;
constexpr int kDefaultWrapLines = 30000;

struct MessageState {
  std::unique_ptr<platform::NamedMutex> lock;
  platform::NamedMutex::WaitResult last_wait = platform::NamedMutex::kFailed;
  std::string line_prefix;
  std::FILE* output = nullptr;
  bool output_owned = false;
  std::string output_path;  // built once, emptied when an open fails
  short open_failures = 0;
  int lines_since_wrap = 0;
  int wrap_limit = -1;
  int backup_count = -1;
  bool trace_switches[8] = {};
  int verbosity = 0;
  std::string qualifiers[4];  // directory, then three name parts
};

MessageState& State() {
  static MessageState state;
  return state;
}

// Releases the message lock when the message is done, however it ends.
class LockHold {
 public:
  explicit LockHold(platform::NamedMutex* lock) : lock_(lock) {}
  ~LockHold() { lock_->Release(); }
  LockHold(const LockHold&) = delete;
  LockHold& operator=(const LockHold&) = delete;

 private:
  platform::NamedMutex* lock_;
};

bool CreateLock(MessageState& state) {
  if (state.lock != nullptr) return true;
  const char* server = std::getenv("COLL_SERVERID");
  const char* number = std::getenv("COLL_SERVICENUMBER");
  char name[256];
  std::snprintf(name, sizeof name, "LogMutex_%s_%s", server != nullptr ? server : "(null)",
                number != nullptr ? number : "(null)");
  state.lock = platform::NamedMutex::Create(name);
  return state.lock != nullptr;
}

// The decimal value of an environment variable (the nearer bound when it does
// not fit), or `fallback` when it is unset, empty, no number or cannot be
// copied.
int EnvironmentNumber(const char* name, int fallback, bool* set) {
  UniqueText value(env_get(name, -2, nullptr));
  int number = fallback;
  *set = value != nullptr && support::ParseDecimal(value.get(), &number) != EINVAL;
  return *set ? number : fallback;
}

// The trace switch of a conditional trace type: the number its letter is
// followed by ("H3" is 3, "H3p" too); none is switch 0, one that does not fit
// an int is -1, which names no switch.
int TraceSwitchOf(const char* type) {
  const char* digits = type + 1;
  int number = 0;
  const std::errc error = std::from_chars(digits, digits + std::strlen(digits), number).ec;
  if (error == std::errc::invalid_argument) return 0;
  return error == std::errc{} ? number : -1;
}

struct Switches {
  bool show_id = true;
  bool timestamp = false;
  bool position = true;
  bool upper = true;
  bool flush = false;
  bool echo = false;
  bool prebuilt = false;
};

enum class Outcome { kWrite, kDrop };

// Applies the type letter; the letter shown may change.
Outcome ApplyLetter(const char* type, char* letter, Switches* s, const char* id) {
  MessageState& state = State();
  switch (*letter) {
    case 'H': {
      const int number = TraceSwitchOf(type);
      if (number < 0 || number > 7 || !state.trace_switches[number]) return Outcome::kDrop;
      *letter = 'T';
      s->timestamp = s->flush = true;
      break;
    }
    case 'T':
      s->timestamp = s->flush = true;
      break;
    case 'I':
    case 'W':
      break;
    case 'A':
      *letter = 'I';
      s->echo = true;
      break;
    case 'E':
    case 'S':
      s->flush = s->echo = true;
      break;
    case '-':
    case '\0':
      s->show_id = false;
      break;
    case '@':
      state.line_prefix = id != nullptr ? id : "";
      return Outcome::kDrop;
    default:
      s->echo = true;
      break;
  }
  return Outcome::kWrite;
}

Outcome ApplyModifiers(const char* modifiers, Switches* s) {
  for (const char* m = modifiers; *m != '\0'; ++m) {
    switch (*m) {
      case '*':
        std::abort();
      case '-':
        return Outcome::kDrop;
      case 'F':
        s->flush = false;
        break;
      case 'f':
        s->flush = true;
        break;
      case 'H':
        s->show_id = false;
        break;
      case 'h':
        s->show_id = true;
        break;
      case 'L':
        s->echo = false;
        break;
      case 'l':
        s->echo = true;
        break;
      case 'P':
        s->position = false;
        break;
      case 'p':
        s->position = true;
        break;
      case 'T':
        s->timestamp = false;
        break;
      case 't':
        s->timestamp = true;
        break;
      case 'u':
        s->upper = false;
        break;
      default:
        break;
    }
  }
  return Outcome::kWrite;
}

std::string BuildHeader(const Switches& s, const char* id, char letter, const char* format,
                        const char* source_file, int line, const char* routine) {
  if (!s.show_id) return {};
  std::string header = id;
  if (s.prebuilt) {
    header.append(format, strnlen(format, 9));
  } else {
    header += letter;
    header += ' ';
  }
  if (s.timestamp) {
    char hms[8];
    header += "(" + std::string(msg_time_hms(hms)) + ") ";
  }
  if (s.position && source_file != nullptr) {
    char name[1024] = "";
    path_split(source_file, nullptr, nullptr, name, nullptr, nullptr);
    header += std::string(name) + "(" + std::to_string(line) + ") ";
  }
  if (s.upper) {
    for (char& c : header) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  const MessageState& state = State();
  if (routine != nullptr && (state.verbosity >= 2 || state.trace_switches[6])) {
    header += routine;
    header += ' ';
  }
  if (header.size() >= kHeaderSize) header.resize(kHeaderSize - 1);
  return header;
}

// The text of a message, ending in one newline: a pre-built one from its
// tenth character on, a formatted one as formatted.
SQXA_PRINTF(2, 0)
std::string MessageText(bool prebuilt, const char* format, std::va_list args) {
  std::string text;
  if (prebuilt) {
    text = std::strlen(format) > 9 ? format + 9 : "";
  } else {
    char buffer[kTextSize];
    const int length = std::vsnprintf(buffer, sizeof buffer, format, args);
    text = length > 0 ? buffer : " *** vsprintf error ****";
  }
  if (text.empty() || text.back() != '\n') text += '\n';
  return text;
}

SQXA_PRINTF(6, 0)
void WriteMessage(const char* routine, const char* source_file, int line, const char* type,
                  const char* message_id, const char* format, std::va_list args) {
  MessageState& state = State();
  if (!CreateLock(state)) return;
  state.last_wait = state.lock->Wait(250);
  // A lock whose last holder ended holding it is held now all the same: it is
  // given back, and the message is dropped like one that found the lock busy.
  if (state.last_wait == platform::NamedMutex::kAbandoned) state.lock->Release();
  if (state.last_wait != platform::NamedMutex::kAcquired) return;
  LockHold hold(state.lock.get());

  Switches s;
  const char* id = message_id != nullptr ? message_id : "";
  if (*id == '\0' || *id == ' ') s.show_id = false;
  if (*id == '.') ++id;

  const bool typed = type != nullptr && *type != '\0';
  char letter = typed ? static_cast<char>(std::toupper(static_cast<unsigned char>(*type))) : 'T';
  if (letter == 'X') {
    s.prebuilt = true;
    letter = std::strlen(format) > 7 ? format[7] : '\0';
  }
  if (ApplyLetter(typed ? type : "T", &letter, &s, id) == Outcome::kDrop) return;
  if (typed && ApplyModifiers(type + 1, &s) == Outcome::kDrop) return;

  if (state.output == nullptr) {
    s.flush = false;
  } else {
    msg_wrap_check(&state.output, nullptr, &state.lines_since_wrap);
  }
  const bool to_stream = state.output != nullptr || !s.echo;

  const std::string header = BuildHeader(s, id, letter, format, source_file, line, routine);
  const std::string text = MessageText(s.prebuilt, format, args);
  const unsigned long thread = platform::CurrentThreadId();

  if (to_stream) {
    const int written =
        state.output != nullptr
            ? std::fprintf(state.output, "%s(%lu)%s", header.c_str(), thread, text.c_str())
            : std::fprintf(stdout, "%s%s(%lu)%s", state.line_prefix.c_str(), header.c_str(), thread,
                           text.c_str());
    if (written <= 0) {
      std::fprintf(stderr, "+ %s(%lu)%s", header.c_str(), thread, text.c_str());
      return;
    }
  }
  if (s.flush && state.output != nullptr) std::fflush(state.output);
  if (s.echo) {
    std::fprintf(stderr, "%s(%lu)%s", header.c_str(), thread, text.c_str());
    std::fflush(stderr);
  }
}

void CloseOutput(MessageState& state) {
  if (state.output != nullptr && state.output_owned) std::fclose(state.output);
  state.output = nullptr;
  state.output_owned = false;
}

int BackupCount() {
  MessageState& state = State();
  if (state.backup_count >= 0) return state.backup_count;
  bool set = false;
  const int v = EnvironmentNumber("COLL_NUMOUTBAK", 0, &set);
  if (!set) {
    state.backup_count = state.trace_switches[4] ? 5 : 1;
  } else if (v < -9) {
    state.backup_count = v < -9999 ? 9999 : -v;
  } else if (v < 0) {
    state.backup_count = 0;
  } else {
    state.backup_count = v > 9 ? 9 : v;
  }
  return state.backup_count;
}

std::string BackupName(const std::string& path, int k) {
  return path.substr(0, path.size() - 1) + std::to_string(k);
}

void RotateBackups(const std::string& path, int count) {
  if (count <= 0 || path.empty()) return;
  (void)platform::RemoveFile(BackupName(path, count));
  for (int k = count; k >= 2; --k) {
    (void)platform::RenameFile(BackupName(path, k - 1), BackupName(path, k));
  }
  (void)platform::RenameFile(path, BackupName(path, 1));
}

}  // namespace

void msg_write(const char* routine, const char* sourceFile, int line, const char* type,
               const char* messageId, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  WriteMessage(routine, sourceFile, line, type, messageId, format, args);
  va_end(args);
}

void msg_write_simple(int type, const char* messageId, const char* format, ...) {
  const char letter[2] = {static_cast<char>(type), '\0'};
  std::va_list args;
  va_start(args, format);
  WriteMessage(nullptr, nullptr, 0, letter, messageId, format, args);
  va_end(args);
}

std::FILE* msg_open_output(const char* name) {
  MessageState& state = State();
  const int backups = BackupCount();
  if (state.output_path.empty()) {
    const std::string* q = state.qualifiers;
    if (!q[0].empty()) state.output_path = q[0] + "\\";
    if (!q[1].empty()) state.output_path += q[1] + "_";
    if (q[2].size() > 1) state.output_path += q[2].substr(1) + "_";
    if (!q[3].empty()) state.output_path += q[3] + "_";
    state.output_path += name != nullptr ? name : "col.out";
  }
  RotateBackups(state.output_path, backups);

  CloseOutput(state);
  platform::File file = platform::OpenFile(state.output_path, "w");
  if (file == nullptr) {
    const bool first_failure = state.open_failures == 0;
    if (first_failure) {
      std::printf("CAT1995E - Can't open message ouput file: %s\n", state.output_path.c_str());
    }
    ++state.open_failures;
    state.output_path.clear();
    return first_failure ? msg_open_output("colx.out") : nullptr;
  }
  state.output = file.release();
  state.output_owned = true;
  return state.output;
}

void msg_wrap_check(std::FILE** stream, const char* name, int* counter) {
  if (*stream == nullptr) return;
  MessageState& state = State();
  if (state.wrap_limit < 0) {
    bool set = false;
    const int limit = EnvironmentNumber("COLL_WRAPLINES", kDefaultWrapLines, &set);
    state.wrap_limit = limit < 0 ? 0 : limit;
  }
  const int count = (*counter)++;
  if (state.wrap_limit == 0 || count < state.wrap_limit) return;
  *counter = 0;
  if (*stream == state.output) {
    CloseOutput(state);
  } else {
    std::fclose(*stream);
  }
  *stream = msg_open_output(name);
  if (*stream != nullptr) {
    char now[48];
    msg_write(nullptr, nullptr, 0, "i", "cgn5000", "       File wrapped -- %s\n",
              time_text(now, 2));
  }
}

bool msg_trace_switch(int number) {
  return number >= 0 && number < 8 && State().trace_switches[number];
}

void msg_set_trace_switch(int number, bool on) {
  if (number >= 0 && number < 8) State().trace_switches[number] = on;
}

void msg_set_verbosity(int level) { State().verbosity = level; }

void msg_set_name_qualifiers(const char* directory, const char* first, const char* second,
                             const char* third) {
  const char* parts[4] = {directory, first, second, third};
  for (int i = 0; i < 4; ++i) State().qualifiers[i] = parts[i] != nullptr ? parts[i] : "";
}

void msg_reset_for_testing() {
  MessageState& state = State();
  CloseOutput(state);
  std::unique_ptr<platform::NamedMutex> lock = std::move(state.lock);
  state = MessageState();
  state.lock = std::move(lock);
}

void msg_set_output_for_testing(std::FILE* stream) {
  MessageState& state = State();
  CloseOutput(state);
  state.output = stream;
}
