/* A cosine through the forward and the inverse MDCT: every context goes GetSize, Init, use. */
#include <math.h>
#include <moxac.h>
#include <stdio.h>
#include <stdlib.h>

int main(void) {
  enum { N = 64 };
  int32_t specSize, initSize, workSize;
  moxsMDCTFwdGetSize_32f(N, &specSize, &initSize, &workSize);
  uint8_t* memory = malloc((size_t)specSize + (size_t)initSize + 1);
  MoxMdctSpec* spec; /* lies inside `memory` */
  if (moxsMDCTFwdInit_32f(&spec, N, memory, memory + specSize) != moxStatusOk) return 1;

  float x[N], X[N / 2];
  for (int n = 0; n < N; ++n) x[n] = cosf(6.2831853f * 5.5f / N * ((float)n + 0.5f + N / 4.0f));
  if (moxsMDCTFwd_32f(x, X, spec, NULL) != moxStatusOk) return 1; /* NULL: it finds its own work buffer */
  for (int k = 3; k < 9; ++k) printf("X[%d] = %8.3f\n", k, X[k]);
  free(memory);
  return fabsf(X[5] - N) < 1e-3f ? 0 : 1; /* all of it in the fifth line */
}
