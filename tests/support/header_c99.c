/* A C program that links against the shared library: the version record. */
#include <moxac.h>
#include <string.h>

int main(void) {
  const moxLibVersion* v = moxacGetLibVersion();
  return !(v == moxacGetLibVersion() && v->majorVersion == 8 && v->minorVersion == 1 &&
           v->updateNumber == 1 && v->revision == 42291 && memcmp(v->cpuCode, "e9\0\0", 4) == 0 &&
           strcmp(v->libraryName, "moxAC AVX (e9)") == 0 && strcmp(v->versionText, "8.1.1 (r42291)") == 0 &&
           strcmp(v->buildDate, "Apr 10 2014") == 0);
}
