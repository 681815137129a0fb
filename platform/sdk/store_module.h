#pragma once

// The back ends: which one serves projects, and how it is opened.
//
// KYV_STORE names it, "sqlite" unless it is set: the module libkyv_store_NAME.so, which lies beside this library, or in
// the folder that KYV_STORE_MODULES names. Modules stay open as long as the process runs.

#include <memory>

#include "platform/sdk/event_store.h"

namespace kyv_internal {

// A new store for the project, of the back end that the settings choose; null on failure.
[[nodiscard]] std::unique_ptr<EventStore> openStore(const ProjectAddress& project, Failure& failure);

// The same of a project that was there once, and is not made anew.
[[nodiscard]] std::unique_ptr<EventStore> reopenStore(const ProjectAddress& project, Failure& failure);

// The entry of a back end's module, by the back end's name; null on failure.
[[nodiscard]] OpenStore findStoreModule(const std::string& name, const Settings& settings, Failure& failure);

}  // namespace kyv_internal
