#include "analysis/address_names.h"

#include <cstdlib>

#include "analysis/look_ups.h"
#include "analysis/smart_memory.h"
#include "base/hash_seed.h"
#include "base/memory_end.h"
#include "base/network.h"
#include "base/sip_hash.h"

struct Known {
  Address address;
  bool taken;
  char* name;  // null: none
};

// Open addressing, never more than half full.
struct KnownAddresses {
  Known* places;
  size_t capacity;  // a power of two
  size_t count;
};

static constexpr size_t kSmallest = 1024;
static constexpr size_t kMost = size_t{1} << 18;

static KnownAddresses mKnown;
static SipKey mKey;

static uint64_t HashOf(const Address& address) {
  SipHash hash = BeginSipHash(mKey);
  for (const uint8_t byte : address.bytes) {
    AddByte(hash, byte);
  }
  return EndSipHash(hash);
}

// Where the address stands, or belongs.
static Known& PlaceOf(const Address& address) {
  size_t i = HashOf(address) & (mKnown.capacity - 1);
  while (mKnown.places[i].taken && mKnown.places[i].address != address) {
    i = (i + 1) & (mKnown.capacity - 1);
  }
  return mKnown.places[i];
}

static void MakeRoom() {
  if (mKnown.count < mKnown.capacity / 2) {
    return;
  }
  const KnownAddresses old = mKnown;
  if (old.capacity == 0) {
    mKey = RandomSeed(SipKey{"any bytes do"});
  }
  mKnown.capacity = old.capacity == 0 ? kSmallest : old.capacity * 2;
  mKnown.places = static_cast<Known*>(calloc(mKnown.capacity, sizeof(Known)));
  if (mKnown.places == nullptr) {
    EndWithoutMemory();
  }
  for (size_t i = 0; i < old.capacity; ++i) {
    if (old.places[i].taken) {
      PlaceOf(old.places[i].address) = old.places[i];
    }
  }
  free(old.places);
}

static char* Copy(const char* text) {
  char* const copy = smart_strdup(text);
  if (copy == nullptr) {
    EndWithoutMemory();
  }
  return copy;
}

// One question is under way at a time, and none any more when one was not answered.
static char* LookUp(const Address& address, LookUpFigures& figures) {
  LookUpAnswer answer = {};
  const bool answered = AskForName({0, address}) && NextAnswer(answer);
  if (!answered && LookUpsAreOver()) {
    ++figures.left_out;
  } else if (!answered || answer.outcome == LookUpOutcome::kUnanswered) {
    ++figures.unanswered;
  }
  return answered && answer.outcome == LookUpOutcome::kNamed ? Copy(answer.name) : nullptr;
}

char* NameOfAddress(const char* text, LookUpFigures& figures) {
  Address address;
  if (!ParseAddress(text, address)) {
    return nullptr;
  }
  MakeRoom();
  Known& known = PlaceOf(address);
  if (!known.taken && mKnown.count < kMost) {
    ++mKnown.count;
    ++figures.addresses;
    known = {address, true, LookUp(address, figures)};
  }
  return known.name == nullptr ? nullptr : Copy(known.name);
}

void ForgetAddresses() {
  for (size_t i = 0; i < mKnown.capacity; ++i) {
    free(mKnown.places[i].name);
  }
  free(mKnown.places);
  mKnown = {};
}
