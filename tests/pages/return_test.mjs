// What a page does when it, the driver or the line between them goes and comes back.

import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { handBox, isLive, openPage, startBrowser, stateOf, textOf, waitForState, windowOf } from './support/browser.mjs';
import { System, pause, until } from './support/system.mjs';

let system;
let browser;
let page;

before(async () => {
    [system, browser] = await Promise.all([System.start({ settings: { chkEnableDebugLog: '1' } }), startBrowser()]);
    await system.connect();
    page = await openPage(browser, system);
    await waitForState(page, 'Tracking');
});
after(async () => {
    await browser?.close();
    await system?.end();
});

const isGone = () => page.waitForFunction(() => document.body.dataset.live === 'no', undefined, { timeout: 20_000 });
async function toggleLog() {
    await page.locator('#menuButton').click();
    await handBox(page, 'mPopShowLogWindow').click();
}
async function showLog() {
    await toggleLog();
    await windowOf(page, 'frmLogWindow').waitFor();
}
const logLength = () => page.evaluate(() => document.querySelector('[data-control=rtbLog]').textContent.length);
async function logGrows() {
    const length = await logLength();
    await until(async () => (await logLength()) > length, 'the log to grow');
}

test('STOP stands at the edge of the screen in each theme, however far the page is scrolled', async () => {
    await page.setViewportSize({ width: 390, height: 500 });
    for (let theme = 0; theme < 3; ++theme) {
        for (const place of ['start', 'end']) {
            await page.evaluate((end) => scrollTo(0, end ? document.body.scrollHeight : 0), place === 'end');
            const box = await page.locator('#stop').boundingBox();
            assert.ok(Math.abs(box.y + box.height - 500) < 1, `${place}: ${box.y}`);
        }
        await page.evaluate(() => scrollTo(0, 0));
        await page.locator('#theme').click();
    }
    await page.setViewportSize({ width: 1440, height: 900 });
});

test('a key that stops does nothing else as long as it is down', async () => {
    await handBox(page, 'btnSlewRaDec').click();
    const dialog = page.locator('dialog[open]');
    await dialog.waitFor();
    const dec = await system.get('declination');
    await system.put('slewtocoordinatesasync', { RightAscension: await system.get('rightascension'), Declination: dec > 40 ? dec - 30 : dec + 30 });
    await waitForState(page, 'Slewing');
    await page.keyboard.down('Escape');
    await waitForState(page, 'Tracking');
    for (let i = 0; i < 5; ++i) await page.keyboard.down('Escape'); // as a key that is held repeats
    assert.equal(await dialog.count(), 1);
    await page.keyboard.up('Escape');
    await page.keyboard.press('Escape');
    await until(async () => (await dialog.count()) === 0, 'Escape to close the window');
});

test('a socket that is silent for two seconds is taken for lost, and a new one shows the truth and the log', async () => {
    await showLog();
    await logGrows();
    // As on a line that is dead without a word: the messages of the present socket are held back.
    await page.context().addInitScript(() => {
        window.WebSocket = class extends WebSocket {
            constructor(...place) {
                super(...place);
                window.newest = this;
                this.addEventListener('message', (event) => window.silent === this && event.stopImmediatePropagation());
            }
        };
    });
    await page.reload();
    await isLive(page);
    const sockets = [];
    page.on('websocket', (socket) => sockets.push(socket));
    await page.evaluate(() => (window.silent = window.newest));
    await until(() => sockets.length > 0, 'a new socket');
    await isLive(page);
    assert.equal(await stateOf(page), 'Tracking');
    await logGrows();
});

test('a reload in the middle shows what is open', async () => {
    await handBox(page, 'btnSlewAltAz').click();
    await windowOf(page, 'frmAskGtoAltAz').waitFor();
    await page.reload();
    await isLive(page);
    await windowOf(page, 'frmAskGtoAltAz').waitFor();
    await page.locator('dialog[open] .close').click();
    await windowOf(page, 'frmAskGtoAltAz').waitFor({ state: 'hidden' });
});

test('a driver that is killed and started again is shown, with its own log', async () => {
    await system.endDriver('SIGKILL');
    await isGone();
    assert.equal(await stateOf(page), 'No driver');
    await system.startAgain();
    await isLive(page);
    await system.connect();
    await waitForState(page, 'Tracking');
    await toggleLog(); // it is still ticked, from the driver before
    await showLog();
    await logGrows();
});

test('a driver that a person has closed stays closed until "Start" is pressed', async () => {
    await page.locator('#menuButton').click();
    await handBox(page, 'mPopExit').click();
    await windowOf(page, 'frmAskUserCloseDriver').locator('[data-control=btnOK]').click();
    await isGone();
    await until(async () => (await stateOf(page)) === 'Driver closed', 'the page to say so');
    await pause(3000);
    assert.equal(await stateOf(page), 'Driver closed');
    assert.equal(await page.locator('dialog[open]').count(), 0);
    await page.getByRole('button', { name: 'Start' }).click();
    await isLive(page);
    assert.match(await textOf(page, '#state'), /Not connected/);
});
