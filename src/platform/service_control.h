// The service seam: the Windows service control manager of this machine.
// Systems without one answer every connection with kServiceNotImplemented.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace platform {

// System error numbers, with the values of the Win32 ones.
inline constexpr unsigned long kServiceNotImplemented = 120;   // ERROR_CALL_NOT_IMPLEMENTED
inline constexpr unsigned long kServiceRequestTimeout = 1053;  // ERROR_SERVICE_REQUEST_TIMEOUT
inline constexpr unsigned long kServiceDoesNotExist = 1060;    // ERROR_SERVICE_DOES_NOT_EXIST
inline constexpr unsigned long kServiceNotActive = 1062;       // ERROR_SERVICE_NOT_ACTIVE
inline constexpr unsigned long kServiceTimeout = 1460;         // ERROR_TIMEOUT

inline constexpr uint32_t kServiceStateStopped = 1;  // SERVICE_STOPPED

struct ServiceStatus {
  uint32_t state = 0;
  uint32_t check_point = 0;
  uint32_t wait_hint_ms = 0;
};

class Service {
 public:
  virtual ~Service() = default;  // closes the handle
  // Sends the stop control; false with the system error in `error`.
  [[nodiscard]] virtual bool Stop(unsigned long* error) = 0;
  [[nodiscard]] virtual bool QueryStatus(ServiceStatus* status) = 0;
  [[nodiscard]] virtual bool Delete(unsigned long* error) = 0;
};

class ServiceManager {
 public:
  enum Access { kStopAndQuery, kDelete };

  virtual ~ServiceManager() = default;  // closes the handle
  // The local service control manager; null with the system error in `error`.
  [[nodiscard]] static std::unique_ptr<ServiceManager> Connect(unsigned long* error);
  [[nodiscard]] virtual std::unique_ptr<Service> Open(const std::string& name, Access access,
                                                      unsigned long* error) = 0;
};

}  // namespace platform
