// Eigen as the forehead model needs it; nothing else in the library uses Eigen.
//
// Its vector code is switched off because it differs between processors and compiler options (the
// NEON code and the AVX2 code fuse multiplications and additions, the SSE2 code does not), while
// the scalar code computes the same everywhere.
//
// The namespace gets a name of its own: a program that links the static library may hold an Eigen
// built with other options, and the linker would make one of the two.
#pragma once

#define EIGEN_DONT_VECTORIZE
#define Eigen mvk_eigen

#include <Eigen/Core>
