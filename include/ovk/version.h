#pragma once

/// @file
/// The one place that states the version; the build reads it from here.
#define OVK_VERSION_MAJOR 1 ///< changes with the interface
#define OVK_VERSION_MINOR 0 ///< changes with additions to it
#define OVK_VERSION_PATCH 0 ///< changes with corrections

/// @cond
#define OVK_TEXT_OF(number) #number
#define OVK_VERSION_OF(major, minor, patch) OVK_TEXT_OF(major) "." OVK_TEXT_OF(minor) "." OVK_TEXT_OF(patch)
/// @endcond
#define OVK_VERSION OVK_VERSION_OF(OVK_VERSION_MAJOR, OVK_VERSION_MINOR, OVK_VERSION_PATCH) ///< as a text: "1.0.0"
