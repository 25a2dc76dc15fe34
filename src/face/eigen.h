// Eigen as the forehead model needs it; nothing else in the library uses Eigen.
//
// Its vector code is switched off because it differs between processors and compiler options (the
// NEON code and the AVX2 code fuse multiplications and additions, the SSE2 code does not), while
// the scalar code computes the same everywhere.
//
// The namespace gets a name of its own: a program that links the static library may hold an Eigen
// built with other options, and the linker would make one of the two. The name has to last to the
// end of a source file, whose further Eigen headers (SVD) must open the same namespace.
#pragma once

#ifndef EIGEN_DONT_VECTORIZE  // a build may switch it off for everything
#define EIGEN_DONT_VECTORIZE
#endif
#define Eigen mvk_eigen

#include <Eigen/Core>
