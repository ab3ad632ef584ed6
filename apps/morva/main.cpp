// morva, the command-line host: reads a picture, has the engine render it, writes the sheet.

#include <exception>
#include <new>
#include <optional>
#include <variant>

#include "cancel_signal.h"
#include "command_line.h"
#include "console.h"
#include "host_error.h"

int main(int argc, char** argv) {
  using namespace morva::host;
  try {
    install_cancel_signal();
    if (const std::optional<Request> request = parse_command_line(argc, argv)) {
      std::visit([](const auto& one) { run(one); }, *request);
    }
    return MORVA_OK;
  } catch (const HostError& failure) {
    print_error(failure.what());
    return failure.code;
  } catch (const std::bad_alloc&) {
    print_error("out of memory");
  } catch (const std::exception& failure) {
    print_error(failure.what());
  }
  return MORVA_FAILED;
}
