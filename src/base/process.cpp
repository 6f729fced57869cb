// Programs are read through pipes, and a pipe ends only when the last process that holds
// it is gone: a helper that a program leaves behind would keep its reader waiting for
// ever. So a command is over when its process is, and what it wrote by then is its output.

#include "base/process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <memory>

namespace qv::process {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kLargestOutput = std::size_t{64} << 20;
// How often a command is asked whether it ended: one that still holds its output open,
// and one that has closed it and so is about to go.
constexpr int kGlanceMilliseconds = 20;
constexpr timespec kShortGlance{0, 100'000};
constexpr int kGlancesAfterKill = 1000;

// One command on its way.
class Running {
 public:
  Running(Command& command, std::vector<std::string>& environment);
  ~Running();
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

  [[nodiscard]] bool over() const { return pid_ == 0; }
  [[nodiscard]] bool ending() const { return pid_ != 0 && !output_.valid(); }
  [[nodiscard]] bool succeeded() const { return started_ && pid_ == 0 && status_ == 0 && !failed_; }
  void append_to(std::vector<pollfd>& wanted) const;
  void advance();

 private:
  void write_some();
  void read_some();
  void look_whether_ended();

  Command& command_;
  Descriptor input_;
  Descriptor output_;
  std::size_t written_ = 0;
  pid_t pid_ = 0;
  int status_ = -1;
  bool started_ = false;
  bool failed_ = false;
};

Running::Running(Command& command, std::vector<std::string>& environment) : command_(command) {
  auto in = open_pipe();
  auto out = open_pipe();
  const Descriptor nowhere(::open("/dev/null", O_RDWR | O_CLOEXEC));
  if (!in || !out || !nowhere.valid()) return;
  sigset_t reset;
  sigemptyset(&reset);
  sigaddset(&reset, SIGPIPE);
  auto arguments = pointers_to(command.arguments);
  auto variables = pointers_to(environment);
  Launch launch;
  launch.path = arguments[0];
  launch.arguments = arguments.data();
  launch.environment = variables.data();
  launch.standard[0] = in->read.get();
  launch.standard[1] = out->write.get();
  launch.standard[2] = nowhere.get();
  launch.reset = &reset;
  launch.own_group = true;
  pid_ = spawn(launch);
  started_ = pid_ != 0;
  if (!started_) return;
  input_ = std::move(in->write);
  output_ = std::move(out->read);
  make_nonblocking(input_.get());
  make_nonblocking(output_.get());
  if (command.input.empty()) input_.reset();
}

Running::~Running() {
  if (pid_ == 0) return;
  ::kill(-pid_, SIGKILL);
  // One that hangs in the kernel is left to itself.
  for (int glance = 0; glance < kGlancesAfterKill && ::waitpid(pid_, nullptr, WNOHANG) == 0;
       ++glance) {
    ::nanosleep(&kShortGlance, nullptr);
  }
}

void Running::append_to(std::vector<pollfd>& wanted) const {
  if (input_.valid()) wanted.push_back({input_.get(), POLLOUT, 0});
  if (output_.valid()) wanted.push_back({output_.get(), POLLIN, 0});
}

void Running::advance() {
  if (over()) return;
  write_some();
  read_some();
  look_whether_ended();
}

void Running::write_some() {
  while (input_.valid()) {
    const ssize_t count =
        ::write(input_.get(), command_.input.data() + written_, command_.input.size() - written_);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && errno == EAGAIN) return;
    if (count > 0) written_ += static_cast<std::size_t>(count);
    if (count <= 0 || written_ == command_.input.size()) input_.reset();
  }
}

void Running::read_some() {
  char bytes[65536];
  while (output_.valid()) {
    const ssize_t count = ::read(output_.get(), bytes, sizeof bytes);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && errno == EAGAIN) return;
    if (count <= 0) {
      output_.reset();
      return;
    }
    command_.output.append(bytes, static_cast<std::size_t>(count));
    if (command_.output.size() > kLargestOutput) failed_ = true;
    if (failed_) return;
  }
}

void Running::look_whether_ended() {
  if (failed_) ::kill(-pid_, SIGKILL);
  const pid_t ended = ::waitpid(pid_, &status_, WNOHANG);
  if (ended == 0 || (ended < 0 && errno == EINTR)) return;
  if (ended < 0) status_ = -1;
  read_some();
  output_.reset();
  pid_ = 0;
}

}  // namespace

std::optional<Pipe> open_pipe() {
  int ends[2];
  if (::pipe(ends) != 0) return std::nullopt;
  for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
  return Pipe{Descriptor(ends[0]), Descriptor(ends[1])};
}

void make_nonblocking(int fd) { ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK); }

std::vector<char*> pointers_to(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

pid_t spawn(const Launch& launch) {
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
  if (const int error = ::posix_spawn_file_actions_init(&actions); error != 0) {
    errno = error;
    return 0;
  }
  if (const int error = ::posix_spawnattr_init(&attributes); error != 0) {
    ::posix_spawn_file_actions_destroy(&actions);
    errno = error;
    return 0;
  }
  int error = 0;
  for (int fd = 0; fd <= 2 && error == 0; ++fd) {
    if (launch.standard[fd] < 0) continue;
    error = ::posix_spawn_file_actions_adddup2(&actions, launch.standard[fd], fd);
  }
  unsigned flags = 0;
  if (launch.mask != nullptr) {
    flags |= POSIX_SPAWN_SETSIGMASK;
    ::posix_spawnattr_setsigmask(&attributes, launch.mask);
  }
  if (launch.reset != nullptr) {
    flags |= POSIX_SPAWN_SETSIGDEF;
    ::posix_spawnattr_setsigdefault(&attributes, launch.reset);
  }
  if (launch.own_group) {
    flags |= POSIX_SPAWN_SETPGROUP;
    ::posix_spawnattr_setpgroup(&attributes, 0);
  }
  ::posix_spawnattr_setflags(&attributes, static_cast<short>(flags));
  pid_t pid = 0;
  if (error == 0) {
    error = ::posix_spawn(&pid, launch.path, &actions, &attributes, launch.arguments,
                          launch.environment);
  }
  ::posix_spawn_file_actions_destroy(&actions);
  ::posix_spawnattr_destroy(&attributes);
  errno = error;
  return error == 0 ? pid : 0;
}

bool run_all(std::span<Command> commands, std::vector<std::string>& environment, int seconds) {
  const auto deadline = Clock::now() + std::chrono::seconds(seconds);
  std::vector<std::unique_ptr<Running>> running;
  for (Command& command : commands) {
    running.push_back(std::make_unique<Running>(command, environment));
  }
  for (;;) {
    std::vector<pollfd> wanted;
    for (const auto& one : running) {
      one->advance();
      if (!one->over()) one->append_to(wanted);
    }
    if (std::ranges::all_of(running, [](const auto& one) { return one->over(); })) break;
    if (Clock::now() >= deadline) return false;
    if (std::ranges::any_of(running, [](const auto& one) { return one->ending(); })) {
      ::nanosleep(&kShortGlance, nullptr);
    } else {
      ::poll(wanted.data(), static_cast<nfds_t>(wanted.size()), kGlanceMilliseconds);
    }
  }
  return std::ranges::all_of(running, [](const auto& one) { return one->succeeded(); });
}

}  // namespace qv::process
