#pragma once

// OpenCV's parallel loop for work over bands of rows. Its workers take the parts and report them
// done through synchronisation the thread sanitizer cannot see; in sanitizer builds each part
// says that it starts after the call and ends before the call returns, as that synchronisation
// guarantees.

#include "core/HandOver.h"

#include <opencv2/core/utility.hpp>

namespace QTD {

template <class Body> class ParallelParts : public cv::ParallelLoopBody {
public:
    explicit ParallelParts(const Body& body) : body(body) {}
    void operator()(const cv::Range& part) const override {
        acquire(this);
        body(part);
        release(this);
    }

private:
    const Body& body;
};

template <class Body> void parallelFor(const cv::Range& range, const Body& body) {
    ParallelParts<Body> parts(body);
    release(&parts);
    cv::parallel_for_(range, parts);
    acquire(&parts);
}

} // namespace QTD
