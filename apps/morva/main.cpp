// morva, the command-line host: reads a picture, has the engine render it, writes the sheet.

#include <exception>
#include <new>
#include <optional>
#include <type_traits>
#include <variant>

#include "cancel_signal.h"
#include "command_line.h"
#include "console.h"
#include "hints.h"
#include "host_error.h"
#include "operating_system.h"

namespace {

int told(const morva::host::HostError& failure) {
  morva::host::print_error(failure.what(), morva::host::hint_for(failure));
  return failure.code;
}

// The exit code: that of a batch, or of a request that did not fail.
template <class Request>
int carried_out(const Request& request) {
  if constexpr (std::is_same_v<decltype(run(request)), int>) {
    return run(request);
  } else {
    run(request);
    return MORVA_OK;
  }
}

}  // namespace

int main(int argc, char** argv) {
  using namespace morva::host;
  try {
    take_closed_streams();
    install_cancel_signal();
    if (const std::optional<Request> request = parse_command_line(argc, argv)) {
      return std::visit([](const auto& one) { return carried_out(one); }, *request);
    }
    return MORVA_OK;
  } catch (const HostError& failure) {
    return told(failure);
  } catch (const std::bad_alloc&) {
    return told(HostError(MORVA_FAILED, "out of memory",
                          "render a smaller picture or crop, or fewer at a time"));
  } catch (const std::exception& failure) {
    return told(HostError(MORVA_FAILED, failure.what()));
  }
}
