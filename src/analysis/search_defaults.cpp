#include "analysis/search_defaults.h"

// A fragment begins with a dot where the bare name also ends longer ones: "ask.com"
// would be found in "task.com", "search.com" in "planetsearch.com".
const std::string_view kDefaultEngines[kDefaultEngineCount] = {
    "About.com;url=http://www.about.com/;domain=about.com;vars=terms",
    "AltaVista;url=http://www.altavista.com/;domain=altavista.com;vars=q",
    "AOL Search;url=http://search.aol.com/;domain=aol.com;vars=query,search,s;domain=aol.co.uk;vars=query",
    ("Ask Jeeves;url=http://www.ask.com/;domain=.ask.com;vars=ask;domain=askjeeves.com;vars=ask;"
     "domain=.ask.co.uk;vars=ask"),
    "Direct Hit;url=http://www.directhit.com/;domain=directhit.com;vars=qry",
    "Dogpile;url=http://www.dogpile.com/;domain=dogpile.com;vars=q",
    "Excite;url=http://www.excite.com/;domain=excite.com;vars=search,s",
    "FAST Search;url=http://www.alltheweb.com/;domain=alltheweb.com;vars=query",
    "GO Network;url=http://www.go.com/;domain=.go.com;vars=qt",
    "Google;url=http://www.google.com/;domain=google.com;vars=q",
    "GoTo;url=http://www.goto.com/;domain=goto.com;vars=Keywords",
    "HotBot;url=http://www.hotbot.com/;domain=hotbot.com;vars=MT;domain=hotbot.lycos.com;vars=MT",
    "InferenceFind;url=http://www.infind.com/;domain=infind.com;vars=query",
    "InfoSeek;url=http://www.infoseek.com/;domain=infoseek.com;vars=qt;domain=infoseek.co.uk;vars=qt",
    "iWon;url=http://www.iwon.com/;domain=iwon.com;vars=searchfor",
    "LookSmart;url=http://www.looksmart.com/;domain=looksmart.com;vars=key",
    "Lycos;url=http://www.lycos.com/;domain=lycos.com;vars=query",
    ("Magellan;url=http://magellan.excite.com/;domain=mckinley.com;vars=search,query;"
     "domain=magellan.excite.com;vars=search,query"),
    ("MetaCrawler;url=http://www.metacrawler.com/;domain=metacrawler.com;vars=general;"
     "domain=go2net.com;vars=general"),
    "Microsoft;url=http://search.microsoft.com/;domain=microsoft.com;vars=qu,SearchString",
    "MSN;url=http://search.msn.com/;domain=.msn.com;vars=q,MT",
    "NetGuide;url=http://www.netguide.com/;domain=netguide.com;vars=query,Search.Query,AVSearchApp.Query",
    "Netscape;url=http://search.netscape.com/;domain=netscape.com;vars=search",
    "Northern Light;url=http://www.northernlight.com/;domain=northernlight.com;vars=qr",
    ("Open Directory Project;url=http://dmoz.org/;domain=dmoz.org;vars=search;"
     "domain=directory.mozilla.org;vars=search"),
    "PlanetSearch;url=http://www.planetsearch.com/;domain=planetsearch.com;vars=text",
    "RealNames;url=http://www.realnames.com/;domain=realnames.com;vars=realname",
    ("SavvySearch;url=http://www.savvysearch.com/;domain=savvysearch.com;vars=q,KW;"
     "domain=cs.colostate.edu;vars=KW"),
    "SEARCH.com;url=http://www.search.com/;domain=.search.com;vars=QUERY;domain=search.cnet.com;vars=QUERY",
    "Snap;url=http://www.snap.com/;domain=snap.com;vars=keyword,KW",
    "Switchboard;url=http://www.switchboard.com/;domain=switchboard.com;vars=SEARCHSTRING",
    "Thunderstone;url=http://search.thunderstone.com/;domain=thunderstone.com;vars=q,arg",
    "WebCrawler;url=http://www.webcrawler.com/;domain=webcrawler.com;vars=searchText,text",
    "Yahoo!;url=http://www.yahoo.com/;domain=yahoo.com;vars=p",
};
