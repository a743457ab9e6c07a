// ZO_EXPORT marks the public API of libzoserver.so. The library is built with hidden
// visibility, so only classes and functions marked here are exported; everything else stays
// internal to the library and free to change.
#pragma once

#define ZO_EXPORT __attribute__((visibility("default")))
