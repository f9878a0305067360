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
void PutPageHead(Sink& sink, bool with_script) {
  Put(sink, "</title>\n<meta http-equiv=\"Content-Security-Policy\" content=\"");
  Put(sink, with_script ? kPolicy : kPolicyWithoutScript);
  Put(sink,
      "\">\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<meta name=\"referrer\" content=\"no-referrer\">\n"
      "<meta name=\"robots\" content=\"noindex, nofollow\">\n"
      "<meta name=\"color-scheme\" content=\"light dark\">\n<style>");
  Put(sink, kPageStyle);
  Put(sink, "</style>\n</head>\n<body>\n");
}

void PutPageEnd(Sink& sink, bool with_script) {
  if (with_script) {
    Put(sink, "<script>");
    Put(sink, kPageScript);
    Put(sink, "</script>\n");
  }
  Put(sink, "</body>\n</html>\n");
}
