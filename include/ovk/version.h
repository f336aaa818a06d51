#pragma once

// The one place that states the version; the build reads it from here.
#define OVK_VERSION_MAJOR 1
#define OVK_VERSION_MINOR 0
#define OVK_VERSION_PATCH 0
#define OVK_VERSION "1.0.0"
