#pragma once

// The interfaces of the type library as tables of typed function pointers: a class is described by
// filling its table, and the compiler holds every entry against the interface definition.
#include "platform/com/windows.h"

#define CINTERFACE
#include "Collection.h"
#include "Ohmwise6.h"
#undef CINTERFACE
