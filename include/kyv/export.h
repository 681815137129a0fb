#pragma once

// Marks a name as part of the library's public interface. Everything else is hidden by the build.
#define KYV_EXPORT __attribute__((visibility("default")))
