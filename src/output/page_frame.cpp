#include "output/page_frame.h"

#include "output/page_assets.h"

const char* WebPolicy(bool with_script) {
  return with_script ? kWebPolicy : kWebPolicyWithoutScript;
}

void PutPageStart(Sink& sink) {
  Put(sink, kPageTop);
  Put(sink, "<title>");
}

// The policy stands before what it speaks of.
static void PutHead(Sink& sink, const Literal& policy, const Literal& style) {
  Put(sink, "</title>\n<meta http-equiv=\"Content-Security-Policy\" content=\"");
  Put(sink, policy);
  Put(sink,
      "\">\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<meta name=\"referrer\" content=\"no-referrer\">\n"
      "<meta name=\"robots\" content=\"noindex, nofollow\">\n"
      "<meta name=\"color-scheme\" content=\"light dark\">\n<style>");
  Put(sink, style);
  Put(sink, "</style>\n</head>\n<body>\n");
}

static void PutEnd(Sink& sink, const Literal& script) {
  Put(sink, "<script>");
  Put(sink, script);
  Put(sink, "</script>\n</body>\n</html>\n");
}

void PutPageHead(Sink& sink, bool with_script) {
  PutHead(sink, with_script ? kPolicy : kPolicyWithoutScript, kPageStyle);
}

void PutPageEnd(Sink& sink, bool with_script) {
  if (with_script) {
    PutEnd(sink, kPageScript);
  } else {
    Put(sink, "</body>\n</html>\n");
  }
}

const char* WebPolicyOfForm() {
  return kWebPolicyOfForm;
}

void PutFormHead(Sink& sink) {
  PutHead(sink, kPolicyOfForm, kFormStyle);
}

void PutFormEnd(Sink& sink) {
  PutEnd(sink, kFormScript);
}
