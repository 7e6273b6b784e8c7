#pragma once

/// Marks what the shared library exports; everything else in it stays hidden.
#define TWUPDATE_EXPORT __attribute__((visibility("default")))
