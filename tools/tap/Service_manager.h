#pragma once

/// What a program tells the service manager that has started it, if one has.
namespace Service_manager {

/// The service is there for those that wait for it.
void tell_ready();

} // namespace Service_manager
