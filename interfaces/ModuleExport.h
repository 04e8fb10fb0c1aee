#pragma once

// Marks what a shared library of this system offers. Everything is built with hidden visibility, so a declaration
// without this mark is not reachable from outside its library.
#define MODULE_EXPORT __attribute__((visibility("default")))
