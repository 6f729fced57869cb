#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/record.h"
#include "bridge/endpoint.h"
#include "builds/queue_view.h"

// All that is found out when nothing answers: plain facts, as scripts read them.
namespace qv::doctor {

// Which build of qv this is.
struct Program {
  std::string version;
  std::string commit;  // "unknown" where it was not built from a repository
  std::string compiler;
  std::string libc;
  std::string target;
};

// A file as it lies there, without what is in it.
struct File {
  std::string path;
  bool exists = false;
  std::optional<std::string> error;  // why it cannot be read, in words
  std::optional<std::string> mode;   // its octal digits
  std::optional<std::int64_t> length;
  std::optional<std::int64_t> ageSeconds;  // since it last changed
};

// A socket that something points to.
struct Candidate {
  std::string socket;
  bridge::Origin origin = bridge::Origin::nothing;
  bool used = false;  // a command would talk to this one
  bool exists = false;
  std::int64_t pathLength = 0;
  std::int64_t pathLimit = 0;
  std::optional<std::int64_t> process;  // that listens
  std::optional<std::string> program;
  std::optional<std::int64_t> user;
  bool answers = false;
  std::optional<std::int64_t> microseconds;  // until the answer was there
  std::optional<std::string> kind;           // of the answer
  std::optional<std::int64_t> errorNumber;   // why there is none, in errno's terms,
  std::optional<std::string> error;          // and in words
  File token;
  std::int64_t tokenInVariable = 0;  // its length; counts when the file says nothing
};

struct Bridge {
  std::string name;
  bool variableIsEmpty = false;  // it says that there is none
  std::vector<Candidate> candidates;
};

struct Pane {
  std::string sessionID;
  File seatFile;
  std::optional<std::string> seatSocket;
  std::optional<File> record;               // absent for a pane that has no place on disk
  std::optional<std::int64_t> lastSeenRev;  // absent without a record that makes sense
};

struct Ledger {
  File folder;
  std::optional<std::string> problem;  // why no build can be seen
  bool isPrivate = true;
  File lock;  // changes when it is taken
  bool lockHeld = false;
  std::optional<std::int64_t> lockHolder;
  std::vector<std::string> orphans;
  build::BuildQueue queue;
};

struct Report {
  Program program;
  Pane pane;
  std::vector<Bridge> bridges;
  Ledger ledger;
  bool healthy = true;  // every bridge answers that a command would talk to
  std::vector<std::string> advice;
};

// Everything, found out within seconds whatever hangs, and without changing anything on disk.
// `program` is this program as argument 0 names it.
[[nodiscard]] Report gather(const std::string& program);

// What to do about each problem, a sentence or two for each.
[[nodiscard]] std::vector<std::string> advice(const Report& report);

// In prose, without a line feed at the end.
[[nodiscard]] std::string render(const Report& report);

}  // namespace qv::doctor

template <>
struct qv::record::Schema<qv::doctor::Program> {
  using Program = qv::doctor::Program;
  static constexpr auto fields =
      std::tuple{required("version", &Program::version), required("commit", &Program::commit),
                 required("compiler", &Program::compiler), required("libc", &Program::libc),
                 required("target", &Program::target)};
};

template <>
struct qv::record::Schema<qv::doctor::File> {
  using File = qv::doctor::File;
  static constexpr auto fields =
      std::tuple{required("path", &File::path),     required("exists", &File::exists),
                 optional("error", &File::error),   optional("mode", &File::mode),
                 optional("length", &File::length), optional("ageSeconds", &File::ageSeconds)};
};

template <>
struct qv::record::Schema<qv::doctor::Candidate> {
  using Candidate = qv::doctor::Candidate;
  static constexpr auto fields =
      std::tuple{required("socket", &Candidate::socket),
                 required("origin", &Candidate::origin),
                 required("used", &Candidate::used),
                 required("exists", &Candidate::exists),
                 required("pathLength", &Candidate::pathLength),
                 required("pathLimit", &Candidate::pathLimit),
                 optional("process", &Candidate::process),
                 optional("program", &Candidate::program),
                 optional("user", &Candidate::user),
                 required("answers", &Candidate::answers),
                 optional("microseconds", &Candidate::microseconds),
                 optional("kind", &Candidate::kind),
                 optional("errno", &Candidate::errorNumber),
                 optional("error", &Candidate::error),
                 required("token", &Candidate::token),
                 required("tokenInVariable", &Candidate::tokenInVariable)};
};

template <>
struct qv::record::Schema<qv::doctor::Bridge> {
  using Bridge = qv::doctor::Bridge;
  static constexpr auto fields = std::tuple{required("name", &Bridge::name),
                                            required("variableIsEmpty", &Bridge::variableIsEmpty),
                                            required("candidates", &Bridge::candidates)};
};

template <>
struct qv::record::Schema<qv::doctor::Pane> {
  using Pane = qv::doctor::Pane;
  static constexpr auto fields =
      std::tuple{required("sessionID", &Pane::sessionID), required("seatFile", &Pane::seatFile),
                 optional("seatSocket", &Pane::seatSocket), optional("record", &Pane::record),
                 optional("lastSeenRev", &Pane::lastSeenRev)};
};

template <>
struct qv::record::Schema<qv::doctor::Ledger> {
  using Ledger = qv::doctor::Ledger;
  static constexpr auto fields = std::tuple{
      required("folder", &Ledger::folder),       optional("problem", &Ledger::problem),
      required("isPrivate", &Ledger::isPrivate), required("lock", &Ledger::lock),
      required("lockHeld", &Ledger::lockHeld),   optional("lockHolder", &Ledger::lockHolder),
      required("orphans", &Ledger::orphans),     required("queue", &Ledger::queue)};
};

template <>
struct qv::record::Schema<qv::doctor::Report> {
  using Report = qv::doctor::Report;
  static constexpr auto fields =
      std::tuple{required("program", &Report::program), required("pane", &Report::pane),
                 required("bridges", &Report::bridges), required("ledger", &Report::ledger),
                 required("healthy", &Report::healthy), required("advice", &Report::advice)};
};
