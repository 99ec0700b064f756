// Takes a picture of each window in three sizes and three themes: node screens.mjs FOLDER. See tools/screens.

import { mkdir } from 'node:fs/promises';
import { join } from 'node:path';
import { handBox, kSizes, kThemes, openPage, startBrowser, unfold, waitForState, windowOf } from './support/browser.mjs';
import { System, pause } from './support/system.mjs';
import { closeWindow, frameOf, kWindows } from './support/windows.mjs';

const folder = process.argv[2];
const settings = { ShowInitNowButton: '1', chkEnableDebugLog: '1', txtUserParkAlt: '35', txtUserParkAz: '120' };
const [system, browser] = await Promise.all([System.start({ settings }), startBrowser()]);
await system.connect();

/** A chart with something on it. */
async function guide() {
    for (let i = 0; i < 12; i += 1) {
        await system.put('pulseguide', { Direction: `${i % 4}`, Duration: `${150 + ((i * 97) % 400)}` });
        await pause(1500);
    }
}

async function bookmark(page) {
    const window = windowOf(page, 'frmAskGotoRaDec');
    await handBox(page, 'btnSlewRaDec').click();
    for (const [name, ra, dec] of [['Capella', '05:16:41', '+45:59:53'], ['M 31', '00:42:44', '+41:16:09'], ['Vega', '18:36:56', '+38:47:01']]) {
        await window.locator('[data-control=txtDescription]').fill(name);
        await window.locator('[data-control=txtRA]').fill(ra);
        await window.locator('[data-control=txtDec]').fill(dec);
        await window.locator('[data-control=btnAdd]').click();
        await window.getByRole('option', { name: new RegExp(name) }).waitFor();
    }
    await frameOf(page, 'frmAskGotoRaDec').locator('.close').click();
}

/** The whole page, with STOP at its edge as on a screen that is high enough. */
async function wholePage(page, path) {
    const size = page.viewportSize();
    for (let i = 0; i < 2; i += 1) { // what has just been unfolded may grow
        await pause(300);
        const height = await page.evaluate(() => document.documentElement.scrollHeight);
        await page.setViewportSize({ ...size, height: Math.max(size.height, height) });
    }
    await page.evaluate(() => scrollTo(0, 0));
    await pause(300);
    await page.screenshot({ path });
    await page.setViewportSize(size);
}

await guide();
for (const size of Object.keys(kSizes)) {
    for (const theme of kThemes) {
        const page = await openPage(browser, system, { size, theme });
        await waitForState(page, 'Tracking');
        if (size === 'phone' && theme === kThemes[0]) await bookmark(page);
        await mkdir(join(folder, `${size}-${theme}`), { recursive: true });
        await page.locator('#chart summary').click();
        await page.locator('#chart [data-in]').click();
        for (const window of kWindows) {
            const { form, open } = window;
            if (form) await unfold(page);
            await open(page, system);
            if (form) await windowOf(page, form).waitFor();
            if (form) await unfold(page);
            await pause(400);
            if (!form) await page.evaluate(() => scrollTo(0, 0));
            const path = join(folder, `${size}-${theme}`, `${form || 'frmHandBox'}.png`);
            if (form) await frameOf(page, form).screenshot({ path });
            else await page.screenshot({ path });
            await closeWindow(page, system, window);
            if (form) continue;
            await handBox(page, 'chkShowAllControls').check();
            await unfold(page);
            await wholePage(page, path.replace('.png', '-all.png'));
        }
        await handBox(page, 'chkShowAllControls').uncheck();
        await page.context().close();
    }
}
await browser.close();
await system.end();
