#include "fft/engine/VectorAvx2.h"

#include "tests/levels/VectorMathBody.h"

constinit const VectorMathTable avx2VectorMath = thisLevel;
