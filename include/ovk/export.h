#pragma once

/// Marks what the shared library exports; everything else in it is hidden.
#define OVK_API __attribute__((visibility("default")))
