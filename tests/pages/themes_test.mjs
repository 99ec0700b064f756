// What each window looks like in each theme: readable, and in the night nothing but red.

import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { after, before, test } from 'node:test';
import { brightest, handBox, kSizes, kThemes, openPage, startBrowser, unfold, waitForState, windowOf } from './support/browser.mjs';
import { System, pause } from './support/system.mjs';
import { closeWindow, kWindows } from './support/windows.mjs';

const kMostGreenOrBlue = 0.02 * 255;
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
                    const { violations } = await page.evaluate(() => axe.run());
                    await closeWindow(page, system, window);
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
