// Marks what libconfig.so offers to other programs. Everything else is compiled with hidden
// visibility and is the library's own.
#pragma once

#define LIBCONFIG_API __attribute__((visibility("default")))
