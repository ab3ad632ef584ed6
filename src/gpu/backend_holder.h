// The GPU of the process: whether it renders, what is remembered of its losses, how it comes back.
//
// A host sees three states: no backend (the CPU renders), ready, and lost (selected, but given up
// until retry_backend). A device that went away in a render is rebuilt once by itself; a second
// loss within two minutes gives it up.
//
// Not locked here. All of it but `source`, which is set before the first use and then stays, is
// read and written under the engine's state lock; whatever makes or drops a device holds the render
// lock as well.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "gpu/backend.h"
#include "gpu/platform/platform.h"
#include "gpu/tract.h"

namespace morva::gpu {

// The last loss, as a host reads it.
struct LossRecord {
  std::uint32_t reason = 0;  // a LossReason
  std::uint32_t hresult = 0;
  std::uint64_t requested_bytes = 0;  // of an allocation that failed twice
  std::uint64_t available_bytes = 0;
  std::string report;
};

struct BackendHolder {
  platform::Platform* source = nullptr;  // the system's where none is set
  std::unique_ptr<Tract> backend;
  bool selected = false;         // it renders
  bool lost = false;             // it was given up
  bool profiling = false;        // renders leave a report
  std::uint32_t generation = 0;  // devices built after a loss or a retry
  std::uint32_t recoveries = 0;  // rebuilt by themselves since a host last read it
  LossRecord last_loss;
  std::optional<std::int64_t> last_loss_ns;  // when it was, monotonic
  std::string profile_report;                // of the last profiled render
};

// Whether the selected backend is gone, so that no render can run.
bool is_lost(const BackendHolder& holder);

// The backend that the next render uses, null for the CPU.
Tract* active_backend(const BackendHolder& holder);

// The CPU renders; a device stays alive.
void select_cpu(BackendHolder& holder);
// Hardware, or the software device. One that is there already is kept. A failure leaves the CPU
// selected and is thrown on.
void select_gpu(BackendHolder& holder, bool software);
// Drops the device too. What was learned of losses stays.
void release_backend(BackendHolder& holder);

// The device's description, or "CPU".
std::string describe_backend(const BackendHolder& holder);

// The names of the machine's hardware adapters, and how many of them make a device. Takes no lock.
struct AdapterList {
  std::vector<std::string> hardware;
  std::size_t usable = 0;
};
AdapterList list_adapters(platform::Platform& source);
platform::Platform& source_of(const BackendHolder& holder);

// Selects the hardware, builds every kernel and sends numbers there and back. Returns the adapter's
// name; a failure drops the backend and is thrown on.
std::string probe_backend(BackendHolder& holder);

// Whether the render that `lost` ended may run again. Out of memory keeps its device; any other
// loss drops it and doubles the caution of all estimates, and when `may_retry` and there was no
// other loss within 120 s a new hardware device is made. Does not throw.
bool recover(BackendHolder& holder, const GpuLost& lost, bool may_retry) noexcept;

// A new hardware device in place of the one given up; nothing while the CPU is selected. A failure
// is thrown on.
void retry_backend(BackendHolder& holder);

// Forgets all losses, for tests.
void forget_losses(BackendHolder& holder);

}  // namespace morva::gpu
