#pragma once

/// What the names of everything on the bus are made of.

/// The service.
inline constexpr const char* service_name = "com.quorin.system";

/// The path of an object is this and its relative path.
inline constexpr const char* path_prefix = "/com/quorin/system/";

/// The name of an interface is this and its relative name.
inline constexpr const char* interface_prefix = "com.quorin.system.";
