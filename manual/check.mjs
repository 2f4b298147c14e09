// SPDX-License-Identifier: Apache-2.0
// Opens every page of the manual in a browser and proves that it works: no message on the console, no failed
// request and none to another host, links and anchors that resolve, pictures that show something and say what,
// a search that finds every function, surfaces that draw and turn, and no sideways scrolling when narrow.
//
//     node check.mjs <folder of the pages>
import {existsSync, readdirSync} from "node:fs";
import {join, resolve} from "node:path";
import {pathToFileURL} from "node:url";
import {chromium} from "playwright-core";

const root = resolve(process.argv[2]);
const problems = [];
const names = readdirSync(join(root, "functions")).filter(f => f.endsWith(".html")).map(f => f.slice(0, -5));
const pages = [...readdirSync(root).filter(f => f.endsWith(".html")),
               ...["functions", "guides", "docs"].flatMap(d => readdirSync(join(root, d))
                   .filter(f => f.endsWith(".html")).map(f => `${d}/${f}`))];

const browser = await chromium.launch({
    executablePath: "/usr/bin/chromium",
    args: ["--no-sandbox", "--disable-quic", "--no-first-run", "--disable-background-networking",
           "--disable-component-update", "--disable-sync", "--use-gl=angle", "--use-angle=swiftshader",
           "--enable-unsafe-swiftshader", "--ignore-gpu-blocklist"],
});
const page = await browser.newPage({viewport: {width: 1280, height: 900}});
let where = "";
page.on("console", m => {
    // Notes of the driver on the speed of software drawing are not the page's.
    if (!/GL Driver Message|GPU stall/.test(m.text())) problems.push(`${where}: console: ${m.text()}`);
});
page.on("pageerror", e => problems.push(`${where}: ${e.message}`));
page.on("requestfailed", r => problems.push(`${where}: failed request ${r.url()}`));
page.on("request", r => {
    if (!/^(file|data|blob):/.test(r.url())) problems.push(`${where}: request to ${r.url()}`);
});

const anchors = new Map(); // page -> its anchors
const links = [];          // [page, target, anchor]
for (const name of pages) {
    where = name;
    await page.setViewportSize({width: 1280, height: 900});
    await page.goto(pathToFileURL(join(root, name)).href, {waitUntil: "load"});
    const seen = await page.evaluate(() => ({
        ids: [...document.querySelectorAll("[id]")].map(e => e.id),
        links: [...document.querySelectorAll("a[href]")].map(a => a.href),
        pictures: [...document.querySelectorAll("img")].filter(i => i.loading !== "lazy" || i.complete)
            .map(i => ({source: i.src, alt: i.alt, width: i.naturalWidth})),
        canvases: document.querySelectorAll("canvas").length,
        figures: document.querySelectorAll("figure[data-mesh]").length,
        heading: document.querySelector("h1")?.textContent ?? "",
    }));
    anchors.set(name, new Set(seen.ids));
    for (const href of seen.links) {
        const url = new URL(href);
        if (url.protocol !== "file:") continue;
        const target = decodeURIComponent(url.pathname);
        if (!existsSync(target)) problems.push(`${name}: link to ${target}`);
        else links.push([name, target.slice(root.length + 1), decodeURIComponent(url.hash.slice(1))]);
    }
    for (const p of seen.pictures) {
        if (p.width === 0) problems.push(`${name}: empty picture ${p.source}`);
        if (!p.alt) problems.push(`${name}: picture without words ${p.source}`);
    }
    if (!seen.heading && name !== "search.html") problems.push(`${name}: no heading`);
    if (seen.canvases !== seen.figures) problems.push(`${name}: ${seen.figures} surfaces, ${seen.canvases} drawn`);
    if (seen.figures > 0) {
        const canvas = page.locator("canvas").first();
        await canvas.scrollIntoViewIfNeeded();
        const before = await canvas.screenshot();
        await canvas.focus();
        for (let k = 0; k < 4; ++k) await page.keyboard.press("ArrowRight");
        const after = await canvas.screenshot();
        if (before.equals(after)) problems.push(`${name}: the surface does not turn`);
        const drawn = await page.evaluate(() => {
            const c = document.querySelector("canvas");
            const gl = c.getContext("webgl2") || c.getContext("webgl");
            const pixels = new Uint8Array(4 * c.width * c.height);
            gl.readPixels(0, 0, c.width, c.height, gl.RGBA, gl.UNSIGNED_BYTE, pixels);
            let count = 0;
            for (let k = 3; k < pixels.length; k += 4) count += pixels[k] > 0 ? 1 : 0;
            return count / (c.width * c.height);
        });
        if (!(drawn > 0.05)) problems.push(`${name}: only ${(100 * drawn).toFixed(1)} % of the surface's picture is drawn`);
    }
    await page.setViewportSize({width: 360, height: 740});
    const sideways = await page.evaluate(() => document.documentElement.scrollWidth - window.innerWidth);
    if (sideways > 0) problems.push(`${name}: scrolls ${sideways} pixels sideways when narrow`);
}
for (const [from, target, anchor] of links)
    if (anchor && anchors.has(target) && !anchors.get(target).has(anchor))
        problems.push(`${from}: no anchor ${anchor} in ${target}`);

await page.setViewportSize({width: 1280, height: 900});
for (const name of names) {
    where = `search for ${name}`;
    await page.goto(`${pathToFileURL(join(root, "search.html")).href}?q=${name}`, {waitUntil: "load"});
    const found = await page.waitForFunction(
        wanted => [...document.querySelectorAll("#search-results a")].some(a => a.href.includes(`/functions/${wanted}.html`)),
        name, {timeout: 15000}).catch(() => null);
    if (!found) problems.push(`search does not find ${name}`);
}
where = "filter";
await page.goto(pathToFileURL(join(root, "index.html")).href, {waitUntil: "load"});
const cards = await page.locator(".card:visible").count();
await page.locator('button[data-filter="have-profile"]').click();
const profile = await page.locator(".card:visible").count();
if (cards !== names.length || profile !== 8) problems.push(`gallery: ${cards} pictures, ${profile} for a line`);
await browser.close();

for (const problem of problems) console.log(problem);
console.log(`${pages.length} pages, ${links.length} links, ${names.length} functions: ${problems.length} problems`);
process.exit(problems.length ? 1 : 0);
