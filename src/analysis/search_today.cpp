#include "analysis/search_today.h"

// A fragment that begins with "//" begins the host, one that ends in a dot goes on with a country: other
// sites of an engine's owner, such as its mail, are no engines.
const std::string_view kEnginesOfToday[kEngineOfTodayCount] = {
    ("Google;url=https://www.google.com/;domain=//www.google.;vars=q;domain=//google.;vars=q;"
     "domain=//com.google.android.googlequicksearchbox;vars=;"),
    ("Bing;url=https://www.bing.com/;domain=//www.bing.com;vars=q;domain=//bing.com;vars=q;"
     "domain=//cn.bing.com;vars=q;domain=//m.bing.com;vars=q"),
    ("DuckDuckGo;url=https://duckduckgo.com/;domain=//duckduckgo.com;vars=q;"
     "domain=//html.duckduckgo.com;vars=q;domain=//lite.duckduckgo.com;vars=q"),
    ("Yahoo!;url=https://www.yahoo.com/;domain=search.yahoo.com;vars=p;domain=search.yahoo.co.jp;"
     "vars=p;domain=//r.search.yahoo.;vars=p"),
    ("Yandex;url=https://yandex.com/;domain=//yandex.;vars=text;domain=//www.yandex.;vars=text;"
     "domain=//ya.ru;vars=text"),
    ("Baidu;url=https://www.baidu.com/;domain=//www.baidu.com;vars=wd,word;domain=//m.baidu.com;"
     "vars=word,wd;domain=//baidu.com;vars=wd,word"),
    "Ecosia;url=https://www.ecosia.org/;domain=//www.ecosia.org;vars=q;domain=//ecosia.org;vars=q",
    "Brave Search;url=https://search.brave.com/;domain=//search.brave.com;vars=q",
    "Startpage;url=https://www.startpage.com/;domain=startpage.com;vars=query,q",
    "Kagi;url=https://kagi.com/;domain=//kagi.com;vars=q",
    "Qwant;url=https://www.qwant.com/;domain=//www.qwant.com;vars=q;domain=//lite.qwant.com;vars=q",
    "Mojeek;url=https://www.mojeek.com/;domain=//www.mojeek.com;vars=q",
    "Swisscows;url=https://swisscows.com/;domain=//swisscows.com;vars=query",
    ("Naver;url=https://www.naver.com/;domain=//search.naver.com;vars=query;"
     "domain=//m.search.naver.com;vars=query"),
    "Daum;url=https://www.daum.net/;domain=//search.daum.net;vars=q",
    "Seznam;url=https://www.seznam.cz/;domain=//search.seznam.cz;vars=q",
    ("Sogou;url=https://www.sogou.com/;domain=//www.sogou.com;vars=query;domain=//m.sogou.com;"
     "vars=keyword,query"),
    "360 Search;url=https://www.so.com/;domain=//www.so.com;vars=q;domain=//m.so.com;vars=q",
    "Coc Coc;url=https://coccoc.com/;domain=//coccoc.com;vars=query",
    ("AOL Search;url=https://search.aol.com/;domain=//search.aol.com;vars=q,query;"
     "domain=//search.aol.co.uk;vars=q,query"),
    "Ask;url=https://www.ask.com/;domain=//www.ask.com;vars=q,ask;domain=//uk.ask.com;vars=q,ask",
    ("Marginalia;url=https://marginalia-search.com/;domain=marginalia-search.com;vars=query;"
     "domain=//search.marginalia.nu;vars=query"),
    ("MetaGer;url=https://metager.org/;domain=//metager.org;vars=eingabe;domain=//metager.de;"
     "vars=eingabe"),
    ("ChatGPT;url=https://chatgpt.com/;domain=//chatgpt.com;vars=;domain=//www.chatgpt.com;vars=;"
     "domain=//chat.openai.com;vars=;"),
    ("Perplexity;url=https://www.perplexity.ai/;domain=//www.perplexity.ai;vars=q;"
     "domain=//perplexity.ai;vars=q"),
    ("Copilot;url=https://copilot.microsoft.com/;domain=//copilot.microsoft.com;vars=;"
     "domain=//m365.cloud.microsoft;vars=;"),
    ("Gemini;url=https://gemini.google.com/;domain=//gemini.google.com;vars=;"
     "domain=//bard.google.com;vars=;"),
    "Claude;url=https://claude.ai/;domain=//claude.ai;vars=;",
    "Grok;url=https://grok.com/;domain=//grok.com;vars=;",
    "DeepSeek;url=https://chat.deepseek.com/;domain=//chat.deepseek.com;vars=;",
    "Le Chat;url=https://chat.mistral.ai/;domain=//chat.mistral.ai;vars=;",
    "Meta AI;url=https://www.meta.ai/;domain=//www.meta.ai;vars=;",
    "You.com;url=https://you.com/;domain=//you.com;vars=q",
    "Phind;url=https://www.phind.com/;domain=//www.phind.com;vars=q",
    "Poe;url=https://poe.com/;domain=//poe.com;vars=;",
    "Kimi;url=https://www.kimi.com/;domain=//www.kimi.com;vars=;domain=//kimi.moonshot.cn;vars=;",
    "Andi;url=https://andisearch.com/;domain=//andisearch.com;vars=q",
};
