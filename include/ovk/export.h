#pragma once

/// @file
/// What marks an exported name.

/// Marks what the shared library exports; everything else in it is hidden.
#define OVK_API __attribute__((visibility("default")))
