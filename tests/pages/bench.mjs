// How long a page waits, and what pages cost: node bench.mjs. See docs/benchmarks.md.
//
// Times in the driver are those of its log, to the millisecond; the page is on the same machine.

import { readFile, readdir, readlink } from 'node:fs/promises';
import { isLive, openPage, startBrowser, waitForState } from './support/browser.mjs';
import { System, pause } from './support/system.mjs';

const kTimes = 60;
const system = await System.start({ settings: { chkEnableDebugLog: '1' } });
const browser = await startBrowser();
await system.connect();

const percentile = (values, part) => values.toSorted((a, b) => a - b)[Math.min(values.length - 1, Math.floor(values.length * part))];
const told = (name, values) => console.log(`${name}: p50 ${percentile(values, 0.5)} ms, p99 ${percentile(values, 0.99)} ms (${values.length} times)`);
const timeOf = (line) => Date.parse(line.slice(7, 30).replace(' ', 'T') + 'Z') + new Date().getTimezoneOffset() * 60_000;

async function linesWith(text) {
    return (await system.log()).split('\n').filter((line) => line.includes(text));
}

async function processOfDriver() {
    for (const entry of await readdir('/proc')) {
        const program = await readlink(`/proc/${entry}/exe`).catch(() => '');
        const environment = program.endsWith('kestrane-driver') ? await readFile(`/proc/${entry}/environ`, 'utf8').catch(() => '') : '';
        if (environment.includes(system.folder)) return entry;
    }
    throw new Error('no driver runs');
}

/** The share of its time that the logic thread, the first of the process, works. */
async function cost(seconds) {
    const driver = await processOfDriver();
    // In nanoseconds; the ticks of /proc/PID/stat do not see work that is shorter than a tick.
    const work = async () => Number((await readFile(`/proc/${driver}/task/${driver}/schedstat`, 'utf8')).split(' ')[0]) / 1e9;
    const before = await work();
    await pause(seconds * 1000);
    return (((await work()) - before) / seconds) * 100;
}

/** From the line in the log that tells of a change, made by another page, to the change on the page. */
async function fromDriver(page, other) {
    const seen = [];
    for (let i = 0; i < kTimes; i += 1) {
        const shown = page.evaluate(
            () =>
                new Promise((resolve) => {
                    const watch = new MutationObserver(() => (watch.disconnect(), resolve(Date.now())));
                    watch.observe(document.querySelector('[data-control="btnMove(3)"]'), { attributeFilter: ['data-cell'] });
                }),
        );
        await other.evaluate(() => document.querySelector('#handbox [data-control=chkSwapEW]').click());
        seen.push(await shown);
        await pause(130 + 7 * (i % 20));
    }
    const lines = (await linesWith('chkSwapEW')).slice(-kTimes);
    return lines.map((line, i) => seen[i] - timeOf(line));
}

/** From the press of a direction to its command on the line. */
async function toTheWire(page) {
    const pressed = [];
    for (let i = 0; i < kTimes; i += 1) {
        const button = page.locator('[data-control="btnMove(1)"]');
        await button.hover();
        const at = page.evaluate(() => new Promise((resolve) => addEventListener('pointerdown', () => resolve(Date.now()), { once: true, capture: true })));
        await pause(20);
        await page.mouse.down();
        pressed.push(await at);
        await pause(400);
        await page.mouse.up();
        await pause(200 + 7 * (i % 20));
    }
    const lines = (await linesWith(":Mn#'")).slice(-kTimes);
    return lines.map((line, i) => timeOf(line) - pressed[i]);
}

console.log(`logic thread without a page: ${(await cost(20)).toFixed(1)} % of its time`);
const page = await openPage(browser, system);
await waitForState(page, 'Tracking');
const paints = [];
for (let i = 0; i < 20; i += 1) {
    await page.reload();
    await isLive(page);
    paints.push(Math.round(await page.evaluate(() => performance.getEntriesByName('first-contentful-paint')[0].startTime)));
}
told('first paint', paints);
console.log(`logic thread with 1: ${(await cost(20)).toFixed(1)} % of its time`);
const other = await openPage(browser, system);
for (const pages of [2, 20]) {
    // Further views are sockets that take everything and answer the beats, as pages do.
    await other.evaluate((more) => {
        for (let i = 0; i < more; i += 1) {
            const view = new WebSocket(`ws://${location.host}/view`);
            view.onmessage = ({ data }) => {
                const { type, beat } = JSON.parse(data);
                if (type === 'beat') view.send(JSON.stringify({ do: 'beat', beat }));
            };
        }
    }, pages - 2);
    await pause(1000);
    console.log(`logic thread with ${pages}: ${(await cost(20)).toFixed(1)} % of its time`);
    told(`from the driver to the page, ${pages}`, await fromDriver(page, other));
    told(`from the press to the line, ${pages}`, await toTheWire(page));
}
await browser.close();
await system.end();
