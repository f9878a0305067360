// Holds what is told of agents against lists of robots and of browsers that others have made, and against another
// program that tells browsers. tell_agents (tell_agents.cpp) tells them.
//
//   node lists_test.mjs TELL_AGENTS PACKAGES_FOLDER [--show]     --show: what was told otherwise, too
import { readFileSync } from "node:fs";
import { spawnSync } from "node:child_process";
import { createRequire } from "node:module";

const [program, packages, show] = process.argv.slice(2);
const require = createRequire(`${packages}/package.json`);
const kinds = ["family", "version", "system", "systemVersion", "device", "robot", "purpose"];
let failed = 0;

function tell(agents) {
  const lines = agents.map((agent) => agent.replace(/[\n\r]/g, " "));
  const run = spawnSync(program, { input: lines.join("\n") + "\n", encoding: "utf8", maxBuffer: 1 << 28 });
  if (run.status !== 0) throw new Error(`${program}: ${run.stderr}`);
  const told = run.stdout.split("\n").slice(0, -1);
  if (told.length !== agents.length) throw new Error(`${agents.length} agents, ${told.length} told`);
  return told.map((line) => Object.fromEntries(line.split("\t").map((text, i) => [kinds[i], text])));
}

// At least such a share of a list, which is no shorter than it was when the shares were measured.
function expect(what, agents, rows, holds, { share, least }) {
  const wrong = rows.flatMap((row, i) => (holds(row, i) ? [] : [`  ${JSON.stringify(row)}\n    ${agents[i]}`]));
  const right = rows.length - wrong.length;
  const good = rows.length >= least && right >= share * rows.length;
  failed += good ? 0 : 1;
  console.log(`${good ? "holds" : "FAILS"}: ${what}: ${right} of ${rows.length}, of which ${share * 100} % were expected`);
  if (show || !good) console.log(wrong.slice(0, show ? 1000 : 20).join("\n"));
}

// ---- Robots ----

const known = require("crawler-user-agents").flatMap(({ instances, tags }) => instances.map((agent) => ({ agent, tags })));
const robots = known.map(({ agent }) => agent);
const toldRobots = tell(robots);
expect("robots are robots", robots, toldRobots, ({ robot }) => robot !== "", { share: 0.98, least: 2000 });

// What they are for, where the list names one purpose.
const purposes = {
  "search-engine": ["search"],
  "ai-crawler": ["training", "answers"],
  "feed-reader": ["feeds"],
  "http-library": ["tools"],
  "social-preview": ["previews"],
  archiver: ["archives"],
  seo: ["marketing"],
  monitoring: ["monitoring"],
  scanner: ["scanners"],
};
const single = known.map(({ tags }, i) => ({ tags, i })).filter(({ tags, i }) =>
  tags?.length === 1 && purposes[tags[0]] && toldRobots[i].purpose !== "other");
expect("purposes that are told are those of the list", single.map(({ i }) => robots[i]), single.map(({ i }) => toldRobots[i]),
       ({ purpose }, n) => purposes[single[n].tags[0]].includes(purpose), { share: 0.8, least: 500 });

// ---- Browsers whose makers' names the list tells ----

const named = new Map();
for (const { pattern, allPatchVersions, browserId, operatingSystemId } of
  Object.values(require("@ulixee/real-user-agents/data/userAgentsById.json"))) {
  const [, family, version] = /^([a-z]+)-(\d+)/.exec(browserId);
  for (const patch of pattern.includes("$patch$") ? allPatchVersions : [""]) {
    named.set(pattern.replaceAll("$patch$", patch), { family, version, system: operatingSystemId.replace(/-[\d-]+$/, "") });
  }
}
const families = { chrome: "Chrome", edge: "Edge", firefox: "Firefox", safari: "Safari", opera: "Opera", ie: "Internet Explorer" };
const systems = { windows: "Windows", "mac-os": "macOS" };
const browsers = [...named.keys()];
const wanted = [...named.values()];
const toldNamed = tell(browsers);
expect("browsers are no robots", browsers, toldNamed, ({ robot }) => robot === "", { share: 1, least: 12000 });
expect("families", browsers, toldNamed, ({ family }, i) => family === families[wanted[i].family], { share: 0.99, least: 12000 });
expect("versions", browsers, toldNamed, ({ version }, i) => version === wanted[i].version, { share: 0.99, least: 12000 });
expect("systems", browsers, toldNamed, ({ system }, i) => system === systems[wanted[i].system], { share: 0.99, least: 12000 });

// ---- Common browsers, of phones as well ----

// The other program knows fewer apps, and takes each for the browser whose engine it has.

const common = [...new Set([
  ...JSON.parse(readFileSync(`${packages}/node_modules/user-agents/dist/user-agents.json`, "utf8"))
    .map(({ userAgent }) => userAgent),
  ...require("top-user-agents"),
])];
const bowser = require("bowser");
const called = {
  "Microsoft Edge": "Edge", "Google Search": "Google app", "Samsung Internet for Android": "Samsung Internet",
};
const parsed = common.map((agent) => bowser.parse(agent));
const toldCommon = tell(common);
expect("common browsers are no robots", common, toldCommon, ({ robot }) => robot === "", { share: 1, least: 900 });
expect("their families", common, toldCommon,
       ({ family }, i) => family === (called[parsed[i].browser.name] ?? parsed[i].browser.name), { share: 0.98, least: 900 });
expect("their systems", common, toldCommon,
       ({ system }, i) => system === parsed[i].os.name, { share: 0.99, least: 900 });
const devices = { mobile: "phone", tablet: "tablet", desktop: "desktop", tv: "tv" };
expect("their devices", common, toldCommon,
       ({ device }, i) => device === devices[parsed[i].platform.type], { share: 0.98, least: 900 });
process.exit(failed === 0 ? 0 : 1);
