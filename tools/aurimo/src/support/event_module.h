#pragma once
// EventModule: one subsystem's events for the EventHost. Registering adds
// handlers only; the module starts its session on the first event that needs
// it, so a command that never sends its events leaves its state alone. Its
// background work needs no report: the host waits until every queue is idle.
//
// Thread contract: main thread only, like the host.
//
//   class ClockEvents final : public EventModule {
//     void registerEvents(EventHost& host) override { host.on("tick", ...); }
//   };

namespace aurimo::tool {

class EventHost;

class EventModule {
 public:
  virtual ~EventModule() = default;
  // Adds the module's handlers; nothing starts here.
  virtual void registerEvents(EventHost& host) = 0;
};

}  // namespace aurimo::tool
