#include "base/key_seed.h"

#include <unistd.h>

KeySeed RandomSeed() {
  KeySeed seed;
  if (getentropy(&seed, sizeof seed) != 0) {
    seed = {0x243f6a8885a308d3, 0x13198a2e03707344};  // digits of pi
  }
  return seed;
}
