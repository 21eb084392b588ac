// Whether io_uring makes a 4 KiB cache read cheaper: the plain path the file
// manager takes (openat, fstat, read, close: four system calls) against the
// same work handed to the kernel as one linked submission (openat into a
// registered slot, read, close), with the file's attributes from a statx in
// the chain, from a statx system call, or (the best case) not at all. Both
// sides read the same 10,000 files, interleaved batch by batch
// (bench/side_by_side.h); ratio is io_uring over plain.
//
// The file manager would take the ring only at 1.3x faster (ratio <= 0.77)
// with the attributes it needs, so the figures carry no goal: they are what
// decided it, and this is where to measure them again on another kernel.
// Built where liburing-dev is installed.

#include <fcntl.h>
#include <liburing.h>
#include <sys/stat.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "scratch_directory.h"
#include "side_by_side.h"

namespace aurimo {
namespace {

using bench::check;
using bench::ScratchDirectory;

constexpr std::size_t kValueSize = 4096;
// The first guess at a file's size; the read asks for this much.
constexpr std::size_t kGuess = std::size_t{16} * 1024;
constexpr int kFiles = 10'000;

// 10,000 files of 4 KiB named like the cache's (an MD5 in hex and an extension).
class Files {
 public:
  explicit Files(const std::filesystem::path& parent) : scratch_(parent) {
    const std::vector<char> value(kValueSize, 7);
    for (int i = 0; i < kFiles; ++i) {
      std::string name = std::to_string(1'000'000'000'000'000'000ull + static_cast<unsigned long long>(i) * 7919);
      name.resize(32, 'f');
      names_.push_back(name + ".jpg");
      const int fd = ::open((scratch_.path() + "/" + names_.back()).c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
      check(fd >= 0 && ::write(fd, value.data(), value.size()) == static_cast<ssize_t>(value.size()), "write");
      ::close(fd);
    }
    folder_ = ::open(scratch_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    check(folder_ >= 0, "open");
  }
  ~Files() { ::close(folder_); }
  Files(const Files&) = delete;
  Files& operator=(const Files&) = delete;

  int folder() const { return folder_; }
  const std::vector<std::string>& names() const { return names_; }

 private:
  ScratchDirectory scratch_;
  std::vector<std::string> names_;
  int folder_ = -1;
};

// The file manager's plain read, minus its error reporting.
std::size_t plainRead(int folder, const std::string& name, std::vector<std::uint8_t>& buffer) {
  const int fd = ::openat(folder, name.c_str(), O_RDONLY | O_CLOEXEC | O_NOATIME);
  struct stat status;
  check(fd >= 0 && ::fstat(fd, &status) == 0, "openat");
  buffer.resize(static_cast<std::size_t>(status.st_size));
  check(::read(fd, buffer.data(), buffer.size()) == status.st_size, "read");
  ::close(fd);
  return buffer.size();
}

class Ring {
 public:
  explicit Ring(unsigned flags) {
    check(io_uring_queue_init(8, &ring_, flags) == 0, "io_uring_queue_init");
    check(io_uring_register_files_sparse(&ring_, 1) == 0, "io_uring_register_files_sparse");
  }
  ~Ring() { io_uring_queue_exit(&ring_); }
  Ring(const Ring&) = delete;
  Ring& operator=(const Ring&) = delete;

  // Where the attributes come from: a statx at the head of the chain (io_uring
  // always hands statx to a worker thread), a statx system call before the
  // submission, or nowhere (the best case: the cache needs the date). The
  // one that keeps the file manager's promise (data and attributes of the
  // same file) is fromOpenFile: openat and fstat as calls, then only read
  // and close chained.
  enum class Attributes { inChain, bySystemCall, none, fromOpenFile };

  // [statx,] openat into slot 0, read, close. Hard links keep the chain
  // going past a short read (the guess is larger than the file), so the slot
  // is always closed. Without RWF_NOWAIT a short read of a regular file is
  // finished by a worker thread; with it, a read that would wait for the disk
  // fails instead and would have to be retried by the plain path.
  std::size_t read(int folder, const std::string& name, std::vector<std::uint8_t>& buffer, Attributes attributes,
                   bool noWait) {
    if (attributes == Attributes::fromOpenFile) return readOpenFile(folder, name, buffer);
    buffer.resize(kGuess);
    struct statx status{};
    unsigned count = 3;
    if (attributes == Attributes::inChain) {
      io_uring_sqe* stat = next(0);
      io_uring_prep_statx(stat, folder, name.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &status);
      stat->flags |= IOSQE_IO_HARDLINK;
      ++count;
    } else if (attributes == Attributes::bySystemCall) {
      check(::statx(folder, name.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &status) == 0, "statx");
    }
    io_uring_sqe* open = next(1);
    // A registered slot is no descriptor a child could inherit, so O_CLOEXEC is refused.
    io_uring_prep_openat_direct(open, folder, name.c_str(), O_RDONLY | O_NOATIME, 0, 0);
    open->flags |= IOSQE_IO_HARDLINK;
    io_uring_sqe* read = next(2);
    io_uring_prep_read(read, 0, buffer.data(), static_cast<unsigned>(buffer.size()), 0);
    read->flags |= IOSQE_FIXED_FILE | IOSQE_IO_HARDLINK;
    if (noWait) read->rw_flags = RWF_NOWAIT;
    io_uring_prep_close_direct(next(3), 0);
    check(io_uring_submit_and_wait(&ring_, count) == static_cast<int>(count), "io_uring_submit_and_wait");
    int results[4] = {0, 0, 0, 0};
    unsigned seen = 0, head;
    io_uring_cqe* cqe;
    io_uring_for_each_cqe(&ring_, head, cqe) {
      if (cqe->user_data < 4) results[cqe->user_data] = cqe->res;
      ++seen;
    }
    io_uring_cq_advance(&ring_, seen);
    check(seen == count && results[0] == 0 && results[2] == static_cast<int>(kValueSize) && results[3] == 0, "read");
    check(attributes == Attributes::none || status.stx_size == kValueSize, "statx");
    buffer.resize(kValueSize);
    return buffer.size();
  }

  std::size_t readOpenFile(int folder, const std::string& name, std::vector<std::uint8_t>& buffer) {
    const int fd = ::openat(folder, name.c_str(), O_RDONLY | O_CLOEXEC | O_NOATIME);
    struct stat status;
    check(fd >= 0 && ::fstat(fd, &status) == 0, "openat");
    buffer.resize(static_cast<std::size_t>(status.st_size));
    io_uring_sqe* read = next(0);
    // The exact size: a short read of a regular file would go to a worker.
    io_uring_prep_read(read, fd, buffer.data(), static_cast<unsigned>(buffer.size()), 0);
    read->flags |= IOSQE_IO_HARDLINK;
    io_uring_prep_close(next(1), fd);
    check(io_uring_submit_and_wait(&ring_, 2) == 2, "io_uring_submit_and_wait");
    int results[2] = {-1, -1};
    unsigned seen = 0, head;
    io_uring_cqe* cqe;
    io_uring_for_each_cqe(&ring_, head, cqe) {
      if (cqe->user_data < 2) results[cqe->user_data] = cqe->res;
      ++seen;
    }
    io_uring_cq_advance(&ring_, seen);
    check(seen == 2 && results[0] == status.st_size && results[1] == 0, "read");
    return buffer.size();
  }

 private:
  // Completions come back tagged with their place in the chain.
  io_uring_sqe* next(unsigned place) {
    io_uring_sqe* sqe = io_uring_get_sqe(&ring_);
    io_uring_sqe_set_data64(sqe, place);
    return sqe;
  }

  io_uring ring_{};
};

Ring& threadRing() {
  thread_local Ring ring(IORING_SETUP_SINGLE_ISSUER | IORING_SETUP_DEFER_TASKRUN);
  return ring;
}

std::filesystem::path diskParent() { return std::filesystem::path(AURIMO_BENCH_BUILD_DIR); }

// Whether this kernel lets us set up a ring at all (seccomp, old kernels and
// io_uring_disabled refuse it).
bool ringAvailable() {
  io_uring ring{};
  if (io_uring_queue_init(8, &ring, IORING_SETUP_SINGLE_ISSUER | IORING_SETUP_DEFER_TASKRUN) != 0) return false;
  io_uring_queue_exit(&ring);
  return true;
}

struct Variant {
  const char* name;
  Ring::Attributes attributes;
  bool noWait;
  bool lockedRing;
  bool twoThreads;
  bool onDisk;
};

void BM_UringVsPlainRead(benchmark::State& state, Variant variant) {
  if (!ringAvailable()) {
    state.SkipWithError("io_uring unavailable");
    return;
  }
  Files files(variant.onDisk ? diskParent() : bench::ramDisk());
  std::mutex mutex;
  Ring shared(0);
  const auto batch = [&](auto readOne) {
    const auto part = [&](std::size_t from, std::size_t step) {
      std::vector<std::uint8_t> buffer;
      std::size_t total = 0;
      for (std::size_t i = from; i < files.names().size(); i += step) total += readOne(files.names()[i], buffer);
      benchmark::DoNotOptimize(total);
    };
    if (!variant.twoThreads) return part(0, 1);
    std::thread other(part, 1, 2);
    part(0, 2);
    other.join();
  };
  const auto uring = [&] {
    batch([&](const std::string& name, std::vector<std::uint8_t>& buffer) {
      if (!variant.lockedRing) return threadRing().read(files.folder(), name, buffer, variant.attributes, variant.noWait);
      std::lock_guard lock(mutex);
      return shared.read(files.folder(), name, buffer, variant.attributes, variant.noWait);
    });
  };
  const auto plain = [&] {
    batch([&](const std::string& name, std::vector<std::uint8_t>& buffer) { return plainRead(files.folder(), name, buffer); });
  };
  bench::SideBySide sides(9);
  for (auto _ : state) sides.run(uring, plain);
  sides.report(state, 0);
  // bench/run_all.sh names rows by the label, not by the capture name.
  state.SetLabel(std::string(variant.name) + (variant.onDisk ? ", disk" : ", tmpfs"));
}

using A = Ring::Attributes;
#define AURIMO_URING_CASE(name, ...) \
  BENCHMARK_CAPTURE(BM_UringVsPlainRead, name, Variant{#name, __VA_ARGS__})->Iterations(1)->Unit(benchmark::kMillisecond)
// tmpfs refuses RWF_NOWAIT (EOPNOTSUPP), so there every read goes to a worker.
AURIMO_URING_CASE(statx_in_chain, A::inChain, false, false, false, false);
AURIMO_URING_CASE(statx_call, A::bySystemCall, false, false, false, false);
AURIMO_URING_CASE(fstat_call_then_read_close, A::fromOpenFile, false, false, false, false);
AURIMO_URING_CASE(fstat_call_then_read_close, A::fromOpenFile, false, false, false, true);
AURIMO_URING_CASE(statx_in_chain_nowait, A::inChain, true, false, false, true);
AURIMO_URING_CASE(statx_call_nowait, A::bySystemCall, true, false, false, true);
AURIMO_URING_CASE(statx_call_nowait_ring_behind_mutex, A::bySystemCall, true, true, false, true);
AURIMO_URING_CASE(statx_call_nowait_2_threads, A::bySystemCall, true, false, true, true);
AURIMO_URING_CASE(no_attributes_nowait, A::none, true, false, false, true);

}  // namespace
}  // namespace aurimo

BENCHMARK_MAIN();
