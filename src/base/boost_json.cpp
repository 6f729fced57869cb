// The JSON library, compiled once from its headers together with the program, so that
// it is optimised with it and no shared library is loaded at start-up.
#pragma GCC diagnostic ignored "-Wconversion"
#include <boost/json/src.hpp>
