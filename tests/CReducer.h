// SPDX-License-Identifier: MIT
/// The C interface in the shape of the object, so that one test serves both.
#ifndef QUIETFLOOR_TESTS_CREDUCER_H
#define QUIETFLOOR_TESTS_CREDUCER_H

#include <memory>
#include <new>

#include "lib/quietfloor.h"

/// Throws std::bad_alloc for what the interface reports as a lack of memory.
class CReducer {
public:
    CReducer() : handle(Owned(quietfloor_create())) {}
    CReducer(const CReducer &other) : handle(Owned(quietfloor_copy(other.handle.get()))) {}
    CReducer &operator=(const CReducer &other) {
        handle = CReducer(other).handle;
        return *this;
    }

    void Process(float *in, float *out, int count) {
        Check(quietfloor_process(handle.get(), in, out, count));
    }
    void Resume() { Check(quietfloor_resume(handle.get())); }
    void SetParameter(int index, float value) { Check(quietfloor_set_parameter(handle.get(), index, value)); }
    void SetEstimator(int estimator) { Check(quietfloor_set_estimator(handle.get(), estimator)); }
    void SetSampleRate(int rate) { Check(quietfloor_set_sample_rate(handle.get(), rate)); }
    float GetParameter(int index) const { return quietfloor_get_parameter(handle.get(), index); }
    int GetLatency() const { return quietfloor_latency(handle.get()); }

private:
    using Handle = std::unique_ptr<quietfloor_reducer, void (*)(quietfloor_reducer *)>;

    static Handle Owned(quietfloor_reducer *reducer) {
        return reducer ? Handle(reducer, quietfloor_destroy) : throw std::bad_alloc();
    }
    static void Check(quietfloor_status status) {
        if (status != QUIETFLOOR_OK)
            throw std::bad_alloc();
    }

    Handle handle;
};

#endif
