#include "fft/engine/VectorAvx512.h"

#include "tests/levels/VectorMathBody.h"

constinit const VectorMathTable avx512VectorMath = thisLevel;
