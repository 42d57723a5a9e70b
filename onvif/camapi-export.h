#pragma once

/// Marks what the shared library shows to its users; everything else in it is hidden.
#define CAMAPI_ONVIF_EXPORT __attribute__((visibility("default")))
