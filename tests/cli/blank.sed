# Puts fixed words in place of the texts that show the present moment or the machine.
s|\(<b>Date of Report:</b></td><td width="50%">\)[^<]*|\1NOW|
s|\(Time required to generate report = \)[0-9:]*|\1MM:SS|
s|^\(# Last updated on \).*|\1NOW|
s|^\[[0-9][0-9]/[A-Z][a-z][a-z]/[0-9:]*\] |[NOW] |
s|<b>User:</b> .* / <b>Group:</b> [^<]*<br>|<b>User:</b> USER / <b>Group:</b> GROUP<br>|
s,^\(<b>\(Operating system\|Release\|Processor\|Version\|Node\):</b> \)[^<]*,\1SYSTEM,
s,^\(    \(Operating system\|Release\|Processor\|Version\|Node\): *	\).*,\1SYSTEM,

# What every modern page carries: its style, its script, and their hashes.
/^<style>/,/^<\/style>/{
  s|^<style>.*|<style>STYLE|
  /^<style>/!{
    /^<\/style>/!d
  }
}
/^<script>$/,/^<\/script>$/{
  /script>$/!d
}
s|'sha256-[A-Za-z0-9+/=]*'|'HASH'|g
s|<time datetime="[^"]*">[^<]*</time>|<time>NOW</time>|
