// The service control manager of Windows.
#include <windows.h>

#include "platform/service_control.h"

namespace platform {

namespace {

class Win32Service : public Service {
 public:
  explicit Win32Service(SC_HANDLE handle) : handle_(handle) {}
  ~Win32Service() override { CloseServiceHandle(handle_); }

  bool Stop(unsigned long* error) override {
    SERVICE_STATUS status{};
    if (ControlService(handle_, SERVICE_CONTROL_STOP, &status)) return true;
    *error = GetLastError();
    return false;
  }

  bool QueryStatus(ServiceStatus* status) override {
    SERVICE_STATUS raw{};
    if (!QueryServiceStatus(handle_, &raw)) return false;
    status->state = raw.dwCurrentState;
    status->check_point = raw.dwCheckPoint;
    status->wait_hint_ms = raw.dwWaitHint;
    return true;
  }

  bool Delete(unsigned long* error) override {
    if (DeleteService(handle_)) return true;
    *error = GetLastError();
    return false;
  }

 private:
  SC_HANDLE handle_;
};

class Win32ServiceManager : public ServiceManager {
 public:
  explicit Win32ServiceManager(SC_HANDLE handle) : handle_(handle) {}
  ~Win32ServiceManager() override { CloseServiceHandle(handle_); }

  std::unique_ptr<Service> Open(const std::string& name, Access access,
                                unsigned long* error) override {
    const DWORD rights = access == kDelete ? DELETE : SERVICE_STOP | SERVICE_QUERY_STATUS;
    SC_HANDLE service = OpenServiceA(handle_, name.c_str(), rights);
    if (service == nullptr) {
      *error = GetLastError();
      return nullptr;
    }
    return std::make_unique<Win32Service>(service);
  }

 private:
  SC_HANDLE handle_;
};

}  // namespace

std::unique_ptr<ServiceManager> ServiceManager::Connect(unsigned long* error) {
  SC_HANDLE manager = OpenSCManagerA(nullptr, nullptr, SC_MANAGER_CONNECT);
  if (manager == nullptr) {
    *error = GetLastError();
    return nullptr;
  }
  return std::make_unique<Win32ServiceManager>(manager);
}

}  // namespace platform
