#include "report/refusal_log.h"

#include "report/error_page.h"

// Room for the longest detail, a list of names or a path of escaped characters.
static constexpr size_t kMessageSize = 2048;

struct Message {
  char text[kMessageSize] = "";
  size_t length = 0;
};

static void Append(Message& message, std::string_view text) {
  message.length += CopyText(message.text + message.length, kMessageSize - message.length, text);
}

static void AppendQuoted(Message& message, const char* text) {
  Append(message, "\"");
  for (; *text != '\0'; ++text) {
    char c[] = {*text, '\0'};
    MakePrintable(c);
    Append(message, c[0] == '"' || c[0] == '\\' ? "\\" : "");
    Append(message, c);
  }
  Append(message, "\"");
}

// A blank would end it.
static void AppendAddress(Message& message, const char* address) {
  Append(message, address[0] == '\0' ? "-" : "");
  for (; *address != '\0'; ++address) {
    const bool plain = *address > ' ' && *address <= '~' && *address != '"' && *address != '\\';
    Append(message, plain ? std::string_view(address, 1) : "?");
  }
}

void LogRequest(const Environment& env, const Settings& settings, const char* sentence, const char* detail) {
  Message message;
  AppendAddress(message, env.REMOTE_ADDR);
  Append(message, " ");
  AppendQuoted(message, settings.username);
  Append(message, " ");
  Append(message, sentence);
  if (detail[0] != '\0') {
    Append(message, " ");
    AppendQuoted(message, detail);
  }
  LogError(settings, message.text);
}
