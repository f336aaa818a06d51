#pragma once

/// @file
/// The one place that states the version; the build reads it from here.
#define OVK_VERSION_MAJOR 1 ///< changes with the interface
#define OVK_VERSION_MINOR 0 ///< changes with additions to it
#define OVK_VERSION_PATCH 0 ///< changes with corrections
#define OVK_VERSION "1.0.0" ///< all three, as a text
