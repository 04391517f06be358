#include "fft/engine/VectorSse2.h"

#include "tests/levels/VectorMathBody.h"

constinit const VectorMathTable genericVectorMath = thisLevel;
