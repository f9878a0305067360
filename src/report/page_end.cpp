#include "report/page_end.h"

#include <cstdio>

int FinishPage() {
  // Both, because an earlier failure leaves nothing to send.
  const bool sent = fflush(stdout) == 0;
  if (sent && ferror(stdout) == 0) {
    return 0;
  }
  perror("orvellis: the page could not be written");
  return 2;
}
