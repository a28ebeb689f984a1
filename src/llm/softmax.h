// The softmax of attention scores, in place: exponentials taken from the row's maximum, so that
// large scores cannot overflow, then normalised to sum to one.
#pragma once

#include <cmath>

namespace skimlet {

inline void softmaxInPlace(float* row, int n) {
  float mx = row[0];
  for (int j = 1; j < n; ++j) mx = row[j] > mx ? row[j] : mx;
  float sum = 0;
  for (int j = 0; j < n; ++j) {
    row[j] = std::exp(row[j] - mx);
    sum += row[j];
  }
  const float inv = 1.0f / sum;
  for (int j = 0; j < n; ++j) row[j] *= inv;
}

}  // namespace skimlet
