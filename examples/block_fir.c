/* Smoothing a quantity block by block: the mean of the last three blocks at every position. */
#include <moxac.h>
#include <stdio.h>

int main(void) {
  enum { kBlockLen = 4, kTaps = 3 };
  const float taps[kTaps] = {1.0f / 3, 1.0f / 3, 1.0f / 3};
  MoxFirBlockState* state = NULL;
  if (moxsFIRBlockInitAlloc_32f(&state, kTaps, kBlockLen) != moxStatusOk) return 1;

  float mean[kBlockLen];
  for (int block = 0; block < 6; ++block) {
    const float level = block < 3 ? 0.0f : 3.0f; /* a step after the third block */
    const float energies[kBlockLen] = {level, level + 1, level + 2, level + 3};
    if (moxsFIRBlockOne_32f(energies, mean, state, taps) < moxStatusOk) return 1; /* a warning is fine */
    printf("block %d: %5.2f %5.2f %5.2f %5.2f\n", block, mean[0], mean[1], mean[2], mean[3]);
  }
  return moxsFIRBlockFree_32f(state) == moxStatusOk && mean[0] > 2.99f && mean[0] < 3.01f ? 0 : 1;
}
