// What each window looks like in each theme: readable, and in the night nothing but red.

import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { after, before, test } from 'node:test';
import { brightest, handBox, kSizes, kThemes, openPage, startBrowser, unfold, waitForState, windowOf } from './support/browser.mjs';
import { System, pause, until } from './support/system.mjs';
import { closeWindow, frameOf, kWindows } from './support/windows.mjs';

const kMostGreenOrBlue = 0.02 * 255;
const kLeastRed = 0xeb;
const kLeastTarget = 44;
/** The slew that it asks about would end, and the question with it. */
const kEndsByStop = 'frmAskAbortSlew';
const all = process.env.KESTRANE_LONG === '1';

let system;
let browser;
let axe;

before(async () => {
    [system, browser, axe] = await Promise.all([
        System.start({ settings: { ShowInitNowButton: '1' } }),
        startBrowser(),
        readFile(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8'),
    ]);
    await system.connect();
});
after(async () => {
    await browser?.close();
    await system?.end();
});

/** What a finger may press and is smaller than it should be. */
const smallTargets = (page) =>
    page.locator('button, input[type=text], input[type=range], summary, .check, .option, [role=option], .pressed').evaluateAll(
        (all, least) =>
            all
                .filter((element) => element.checkVisibility())
                .map((element) => {
                    const { width, height } = element.getBoundingClientRect();
                    const around = getComputedStyle(element, '::after'); // the place that a text takes a press in
                    const isText = element.matches('.pressed');
                    return { what: element.outerHTML.slice(0, 90), width: isText ? parseFloat(around.width) : width, height: isText ? parseFloat(around.height) : height };
                })
                .filter(({ width, height }) => width < least - 0.5 || height < least - 0.5)
                .map(({ what, width, height }) => `${what} ${width} x ${height}`),
        kLeastTarget,
    );

/** Texts of the night that are darker than they may be, but for what is switched off. */
const darkTexts = (page) =>
    page.evaluate((least) => {
        const red = (colour) => (/^rgba.*, 0\)$/.test(colour) ? 0 : Number(/\d+/.exec(colour)?.[0] ?? 0));
        const chain = (element) => (element ? [element, ...chain(element.parentElement)] : []);
        return [...document.querySelectorAll('body *')]
            .filter((element) => element.checkVisibility({ checkVisibilityCSS: true }) && [...element.childNodes].some((node) => node.nodeType === 3 && node.data.trim()))
            .filter((element) => !element.closest(':disabled, .off, [hidden], svg'))
            .filter((element) => {
                const around = chain(element);
                const opacity = around.reduce((product, each) => product * Number(getComputedStyle(each).opacity), 1);
                const behind = around.map((each) => red(getComputedStyle(each).backgroundColor)).find((value) => value > 0) ?? 0;
                return Math.max(red(getComputedStyle(element).color), behind) * opacity < least;
            })
            .map((element) => element.outerHTML.slice(0, 120));
    }, kLeastRed);

/** STOP of the window, by its socket and with a dead one. */
async function stopIsHeard(page, form) {
    const stop = frameOf(page, form || 'none').locator('.stopButton').or(page.locator('#stop')).first();
    const isHeard = async () => {
        await stop.click();
        await until(async () => (await stop.innerText()) === 'STOP HEARD', 'STOP to be heard', 3000);
    };
    await isHeard();
    await page.evaluate(() => (window.deadSend = WebSocket.prototype.send, (WebSocket.prototype.send = () => {})));
    await isHeard();
    await page.evaluate(() => (WebSocket.prototype.send = window.deadSend));
    if (form) assert.ok(await windowOf(page, form).isVisible(), 'STOP closes no window');
}

for (const size of all ? Object.keys(kSizes) : ['desk']) {
    for (const theme of all ? kThemes : ['night']) {
        test(`each window on a ${size} in the ${theme} theme is readable, and no pixel of the night is anything but red`, async (t) => {
            const page = await openPage(browser, system, { size, theme });
            await waitForState(page, 'Tracking');
            await page.evaluate(axe);
            const showAll = handBox(page, 'chkShowAllControls');
            if (!(await showAll.isChecked())) await showAll.click();
            await unfold(page);
            for (const window of kWindows) {
                const { form, open } = window;
                await t.test(form || 'the hand box', async () => {
                    await open(page, system);
                    if (form) await windowOf(page, form).waitFor();
                    await unfold(page);
                    await pause(200);
                    const png = await page.screenshot({ fullPage: !form });
                    const small = await smallTargets(page);
                    const dark = theme === 'night' ? await darkTexts(page) : [];
                    const { violations } = await page.evaluate(() => axe.run());
                    if (form !== kEndsByStop) await stopIsHeard(page, form);
                    await closeWindow(page, system, window);
                    assert.deepEqual(small, []);
                    assert.deepEqual(dark, []);
                    assert.deepEqual(
                        violations.map(({ id, nodes }) => [id, ...nodes.slice(0, 4).map(({ html, any }) => [html.slice(0, 160), any[0]?.message])]),
                        [],
                    );
                    if (theme !== 'night') return;
                    const { red, green, blue } = await brightest(browser, png);
                    assert.ok(green <= kMostGreenOrBlue && blue <= kMostGreenOrBlue, `green ${green}, blue ${blue}`);
                    assert.ok(red >= 0xeb, 'the text is bright enough to be read');
                });
            }
            assert.deepEqual(page.errors, []);
            await page.context().close();
        });
    }
}
