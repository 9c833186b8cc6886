#include "peers.h"

#include <libyuv/version.h>

#include <opencv2/core.hpp>

namespace tavrine::bench {

std::vector<Peer> all_peers() {
  cv::setNumThreads(1);
  return {{"opencv", CV_VERSION, opencv_call},
          {"libyuv", std::to_string(LIBYUV_VERSION), libyuv_call}};
}

}  // namespace tavrine::bench
