#pragma once

/// Marks what a shared library shows to others; everything else is compiled with hidden visibility.
#define OXA_EXPORT __attribute__((visibility("default")))
