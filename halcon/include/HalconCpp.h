// The HALCON/C++ class interface as the built-in provider offers it: the types and operators that
// docs/class-interface.md lists, and nothing else. Include this header only; the files that it includes may change.
//
// Every call may fail with an HException unless it is marked noexcept. Different objects may be used from different
// threads; copies of strings, tuples, handles and objects share their data and are cheap.
#ifndef HALCONCPP_HALCONCPP_H
#define HALCONCPP_HALCONCPP_H

#include "halconcpp/HDict.h"
#include "halconcpp/HException.h"
#include "halconcpp/HHandle.h"
#include "halconcpp/HObject.h"
#include "halconcpp/HString.h"
#include "halconcpp/HTuple.h"
#include "halconcpp/Operators.h"

#endif
