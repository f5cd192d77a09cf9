/* The public headers are C99, and a C program links against the shared library. */
#include <moxac/extras.h>
#include <string.h>

int main(void) {
  const moxLibVersion* version = moxacGetLibVersion();
  if (version != moxacGetLibVersion()) return 1;
  if (strcmp(moxStatusText(moxStatusOk), "moxStatusOk: success") != 0) return 1;
  return strcmp(version->versionText, "8.1.1 (r42291)") != 0;
}
