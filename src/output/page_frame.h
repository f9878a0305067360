// What stands around the content of every page: its head with style and content policy,
// and its end. A page needs no other file and no network.
#pragma once

#include "output/sink.h"

// The policy for a web server's headers: what a page cannot say of itself comes first.
const char* WebPolicy(bool with_script);

// How every page begins, up to the first place where a head may say more.
inline constexpr Literal kPageTop = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n";

// "<!DOCTYPE html>" up to where the text of the title begins, and from its end to
// "<body>". Between the two only texts of escape.h or of the program.
void PutPageStart(Sink& sink);
void PutPageHead(Sink& sink, bool with_script);

// The script, which looks for lists in the page, and the end.
void PutPageEnd(Sink& sink, bool with_script);

// The same of the request form, which has a style and a script of its own, may be sent, and
// remembers: it is not shut into a sandbox.
const char* WebPolicyOfForm();
void PutFormHead(Sink& sink);
void PutFormEnd(Sink& sink);
