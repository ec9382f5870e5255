#pragma once

#include <cstddef>

// Mixed-radix fast Fourier transform of any length, in one or more dimensions, on complex
// data held as separate real and imaginary arrays and transformed in place.
//
// Lengths are factored into 4s, square roots of square factors and the remaining primes;
// radix 2, 3, 4 and 5 have butterflies of their own, small odd primes go through a general
// odd-radix butterfly, and large primes through a chirp convolution carried out by transforms
// of a length of factors 2, 3 and 5, so that every length costs O(n log n). A length may have
// at most 11 factors. Rotation and chirp tables, the digit-reversal permutation and the
// temporaries live in module-wide scratch memory that only grows, so repeating a transform of
// the same length allocates nothing. Not thread-safe: one transform at a time.
//
// Failures are written to the standard error stream and reported by a return of -1.

// Transforms every dimension of Re/Im in place.
//
// ndim: number of dimensions. If ndim is 0 or dims[0] is 0, dims is read as a list ended by
//       a 0 entry and ndim is counted from it.
// dims: the length of each dimension, every one at least 1. dims[0] is the dimension whose
//       elements are adjacent in memory; each further dimension strides over the product of
//       the ones before it (element (i0, i1, i2) sits at i0 + dims[0] * (i1 + dims[1] * i2)).
// iSign: the sign chooses the kernel: positive uses e^(+2*pi*i*j*k/N), negative
//        e^(-2*pi*i*j*k/N). Its magnitude is the stride between consecutive elements in Re
//        and Im (normally 1; 2 with Re = data, Im = data + 1 for interleaved complex data).
// scaling: 0.0 or 1.0 leaves the result unscaled; -1.0 divides it by the total length; a
//          value below -1.0 divides by the square root of the total length; any other value
//          divides by that value.
//
// Returns 0 on success, -1 on failure.
int fftns(int ndim, const int dims[], double Re[], double Im[], int iSign, double scaling);

// Transforms one dimension of Re/Im in place; fftns calls it once per dimension.
//
// nTotal: total number of complex elements; nPass: length of this dimension; nSpan: nPass
// times the lengths of the dimensions before it (the distance from one block of this
// dimension to the next); iSign as for fftns. maxFactors and maxPerm size the rotation and
// permutation scratch for at least that length, so that a multidimensional transform grows
// the scratch once (fftns passes its largest dimension).
//
// Returns 0 on success, -1 on failure.
int fftradix(double Re[], double Im[], size_t nTotal, size_t nPass, size_t nSpan, int iSign,
             int maxFactors, int maxPerm);

// Frequency of bin i of an n-point transform as a fraction of the sample rate: i / n up to
// n / 2, negative -(n - i) / n above it, 0.0 for i >= n (or n < 1).
double fftFrequency(int n, int i);

// On processors with AVX2 and FMA the passes of radix 2 to 5 run four butterflies at a time;
// false keeps them to the two-at-a-time passes every processor runs (results equal to
// rounding). On by default.
void fftUseWideVectors(bool use);

// Releases all scratch memory; the next transform allocates it again.
void fftFreeScratch();

// Bytes of scratch memory currently held.
size_t fftScratchSize();
