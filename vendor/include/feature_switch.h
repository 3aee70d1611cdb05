#pragma once

/**
 * Contract of the closed feature-switch library: true when the named OS feature is enabled on this
 * device. `feature` is a NUL-terminated name and is not kept. Any thread.
 */
extern "C" bool isOsFeatureEnabled(const char* feature);
