#pragma once
// RunLoop: the main run loop, which drains the main dispatch queue and its
// delayed blocks. Whichever thread runs it is the main thread; until someone
// runs it, the process's initial thread is.
//
// Thread contract: run() and runUntilIdle() are called on one thread at a
// time (they abort otherwise) and may nest inside a block they run; stop()
// may be called from any thread.
//
//   platform::DispatchQueue::main().async([] { platform::RunLoop::main().stop(); });
//   platform::RunLoop::main().run();

namespace aurimo::platform {

namespace internal {
class MainLoop;
}

class RunLoop {
 public:
  static RunLoop& main();

  RunLoop(const RunLoop&) = delete;
  RunLoop& operator=(const RunLoop&) = delete;

  // Runs main-queue blocks and due delayed blocks, waiting for more when there are
  // none, until stop(). A stop() that arrives while no run() is active ends the next
  // run() before it runs anything.
  void run();
  // Runs everything runnable now, including blocks queued by those blocks and delayed
  // blocks whose deadline has passed, and returns when nothing is runnable.
  void runUntilIdle();
  // runUntilIdle(), then waits for the blocks queued or running on every other
  // queue (and for delayed blocks whose deadline has passed) and drains again,
  // until the whole process is idle. For tests and hosts that act, then look.
  // A block that waits for something outside the process (a terminal) waits here too.
  void runUntilAllQueuesIdle();
  // Makes run() return after the block it is running.
  void stop();

 private:
  explicit RunLoop(internal::MainLoop& loop) : loop_(loop) {}
  internal::MainLoop& loop_;
};

}  // namespace aurimo::platform
