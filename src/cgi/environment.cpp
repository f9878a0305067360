#include "cgi/environment.h"

#include <cstdlib>
#include <ctime>

#include "dates/clock.h"

template <size_t N>
static void CopyVariable(char (&slot)[N], const char* name) {
  const char* value = getenv(name);
  if (value != nullptr) {
    CopyText(slot, value);
  }
}

// Of a list for which there is no room its end counts. Its first item then may be cut, and is left out.
template <size_t N>
static void CopyEndOfList(char (&slot)[N], const char* name) {
  const char* value = getenv(name);
  std::string_view list = value == nullptr ? "" : value;
  if (list.size() >= N) {
    list.remove_prefix(list.size() - (N - 1));
    const size_t comma = list.find(',');
    list.remove_prefix(comma == std::string_view::npos ? list.size() : comma + 1);
  }
  CopyText(slot, list);
}

static void FillTimes(Environment& env) {
  const time_t now = CurrentTime();
  tm local;
  if (localtime_r(&now, &local) != nullptr) {
    strftime(env.current_date, sizeof env.current_date, "%B %d, %Y (%A)", &local);
    strftime(env.current_time, sizeof env.current_time, "%X", &local);
  }
}

void GetEnv(Environment& env) {
  env = {};
  FillTimes(env);
  CopyVariable(env.AUTH_TYPE, "AUTH_TYPE");
  CopyVariable(env.CONTENT_LENGTH, "CONTENT_LENGTH");
  CopyVariable(env.CONTENT_TYPE, "CONTENT_TYPE");
  CopyVariable(env.DOCUMENT_ROOT, "DOCUMENT_ROOT");
  CopyVariable(env.GATEWAY_INTERFACE, "GATEWAY_INTERFACE");
  CopyVariable(env.HTTP_ACCEPT, "HTTP_ACCEPT");
  CopyVariable(env.HTTP_USER_AGENT, "HTTP_USER_AGENT");
  CopyEndOfList(env.HTTP_X_FORWARDED_FOR, "HTTP_X_FORWARDED_FOR");
  CopyVariable(env.PATH, "PATH");
  CopyVariable(env.PATH_INFO, "PATH_INFO");
  CopyVariable(env.PATH_TRANSLATED, "PATH_TRANSLATED");
  CopyVariable(env.QUERY_STRING, "QUERY_STRING");
  CopyVariable(env.REMOTE_ADDR, "REMOTE_ADDR");
  CopyVariable(env.REMOTE_HOST, "REMOTE_HOST");
  CopyVariable(env.REMOTE_IDENT, "REMOTE_IDENT");
  CopyVariable(env.REMOTE_USER, "REMOTE_USER");
  CopyVariable(env.REQUEST_METHOD, "REQUEST_METHOD");
  CopyVariable(env.SCRIPT_NAME, "SCRIPT_NAME");
  CopyVariable(env.SERVER_NAME, "SERVER_NAME");
  CopyVariable(env.SERVER_PORT, "SERVER_PORT");
  CopyVariable(env.SERVER_PROTOCOL, "SERVER_PROTOCOL");
  CopyVariable(env.SERVER_SOFTWARE, "SERVER_SOFTWARE");
  CopyVariable(env.SERVER_ADMIN, "SERVER_ADMIN");
}
