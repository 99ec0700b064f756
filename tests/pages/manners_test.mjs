// What a page owes its person: addresses that open what they name, faults told where they are, keys and lists that behave.

import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { handBox, isLive, openPage, startBrowser, unfold, waitForState, windowOf } from './support/browser.mjs';
import { System, pause, until } from './support/system.mjs';
import { frameOf } from './support/windows.mjs';

let system;
let browser;
let page;

before(async () => {
    [system, browser] = await Promise.all([System.start(), startBrowser()]);
    page = await openPage(browser, system);
    await handBox(page, 'chkShowAllControls').check();
    await unfold(page);
});
after(async () => {
    await browser?.close();
    await system?.end();
});

const control = (form, name) => windowOf(page, form).locator(`[data-control="${name}"]`);
async function fromMenu(name) {
    await page.locator('#menuButton').click();
    await handBox(page, name).click();
}
async function close(form) {
    await frameOf(page, form).locator('.close').click();
    await windowOf(page, form).waitFor({ state: 'hidden' });
}

for (const [path, form] of Object.entries({
    setup: 'frmInitialSetup',
    'setup/v1/telescope/0/setup': 'frmInitialSetup',
    'setup/v1/focuser/0/setup': 'frmSetupFocuser',
})) {
    test(`/${path} opens ${form}, and is the page of the hand box from then on`, async () => {
        const other = await openPage(browser, system, { path });
        await windowOf(other, form).waitFor();
        assert.equal(new URL(other.url()).pathname, '/');
        await windowOf(page, form).waitFor();
        await close(form);
        await windowOf(other, form).waitFor({ state: 'hidden' });
        await other.context().close();
    });
}

test('faults of the setup are named and marked, and what is good is stored', async () => {
    const form = 'frmInitialSetup';
    await fromMenu('mPopSetup');
    await windowOf(page, form).waitFor();
    await unfold(page);
    const fill = async (name, text) => {
        await control(form, name).fill(text);
        await control(form, name).press('Tab');
    };
    const isFault = (name) => control(form, name).evaluate((box) => box.dataset.look === 'fault');
    await fill('txtScopeAperture', 'wide');
    await fill('txtConnectTimeout', '601');
    await control(form, 'btnOK').click();
    const message = windowOf(page, 'frmMessage');
    await message.waitFor();
    assert.match(await message.innerText(), /One or more values are out of range: ScopeAperture,Timeout\. Please correct highlighted text and click 'OK' again\./);
    await close('frmMessage');
    await until(async () => (await isFault('txtScopeAperture')) && (await isFault('txtConnectTimeout')), 'both to be marked');
    await fill('txtScopeAperture', '155');
    await fill('txtConnectTimeout', '600');
    await fill('txtElevation', '7');
    await control(form, 'btnOK').click();
    await message.waitFor();
    assert.match(await message.innerText(), /Please Save or Cancel Site Settings first!/);
    await close('frmMessage');
    await control(form, 'btnCancelSiteChange').click();
    await control(form, 'btnOK').click();
    await windowOf(page, form).waitFor({ state: 'hidden' });
    await fromMenu('mPopSetup');
    await windowOf(page, form).waitFor();
    await until(async () => (await control(form, 'txtScopeAperture').inputValue()) === '155', 'what was stored');
    assert.equal(await control(form, 'txtConnectTimeout').inputValue(), '600');
});

test('what is typed and taken back leaves the box to the driver', async () => {
    const box = control('frmInitialSetup', 'txtScopeAperture');
    await box.focus();
    await page.keyboard.press('End');
    await page.keyboard.type('5');
    await page.keyboard.press('Backspace');
    await page.keyboard.press('Tab');
    const other = await openPage(browser, system);
    await unfold(other);
    const there = windowOf(other, 'frmInitialSetup').locator('[data-control=txtScopeAperture]');
    await there.fill('203');
    await there.press('Tab');
    await until(async () => (await box.inputValue()) === '203', 'the box to follow');
    await other.context().close();
});

test('a list opens where there is room, below STOP, and a key closes it', async () => {
    await page.setViewportSize({ width: 390, height: 500 });
    const list = control('frmInitialSetup', 'cbxMountType');
    const stop = await frameOf(page, 'frmInitialSetup').locator('.stopButton').boundingBox();
    for (const block of ['start', 'end', 'center']) {
        await list.evaluate((node, place) => node.scrollIntoView({ block: place }), block);
        await list.locator('[role=combobox]').press('ArrowDown');
        const box = await list.locator('[role=listbox]').boundingBox();
        assert.ok(box.height >= 88, `${block}: ${box.height}`);
        const onTop = await page.evaluate(({ x, y }) => document.elementFromPoint(x, y).className, { x: stop.x + stop.width / 2, y: stop.y + stop.height / 2 });
        assert.match(onTop, /stopButton/, block);
        await page.keyboard.press('Escape');
        await list.locator('[role=listbox]').waitFor({ state: 'hidden' });
    }
    await page.setViewportSize({ width: 1440, height: 900 });
});

test('a tip is seen above a dialog, by the pointer and by the keyboard', async () => {
    const box = control('frmInitialSetup', 'txtConnectTimeout');
    await box.focus();
    const tip = page.locator('#tip');
    await tip.waitFor();
    assert.equal(await tip.innerText(), 'Range is 1-600 seconds, 0 = forever.');
    const isSeen = await tip.evaluate((node) => {
        const { left, top, width, height } = node.getBoundingClientRect();
        node.style.pointerEvents = 'auto';
        const found = document.elementFromPoint(left + width / 2, top + height / 2);
        node.style.pointerEvents = '';
        return found === node;
    });
    assert.ok(isSeen);
    await close('frmInitialSetup');
});

test('Enter that is held answers no question that it has opened', async () => {
    await system.connect();
    await waitForState(page, 'Tracking');
    await handBox(page, 'btnPark').focus();
    await page.keyboard.down('Enter');
    await windowOf(page, 'frmAskPark').waitFor();
    await control('frmAskPark', 'btnOK').focus();
    for (let i = 0; i < 5; i += 1) await page.keyboard.down('Enter'); // as a key that is held repeats
    await pause(300);
    assert.ok(await windowOf(page, 'frmAskPark').isVisible());
    await page.keyboard.up('Enter');
    await close('frmAskPark');
});

test('Escape closes the menu, and the panel that has the focus', async () => {
    await page.locator('#menuButton').click();
    await page.keyboard.press('Escape');
    await page.locator('#menu').waitFor({ state: 'hidden' });
    await fromMenu('mPopShowLogWindow');
    await windowOf(page, 'frmLogWindow').waitFor();
    await windowOf(page, 'frmLogWindow').locator('.close').focus();
    await page.keyboard.press('Escape');
    await windowOf(page, 'frmLogWindow').waitFor({ state: 'hidden' });
});

test('a text that acts is a button for the keyboard', async () => {
    const label = handBox(page, 'lblLstHA');
    const before = await label.innerText();
    await label.focus();
    await page.keyboard.press('Enter');
    await until(async () => (await label.innerText()) !== before, 'the label to change');
    await page.keyboard.press('Enter');
    await until(async () => (await label.innerText()) === before, 'the label to change back');
});

test('brightness and theme are kept by the browser, and the whole screen is taken and given back', async () => {
    while ((await page.evaluate(() => document.documentElement.dataset.theme)) !== 'night') await page.locator('#theme').click();
    await page.locator('#brightness').fill('5');
    const filter = () => page.evaluate(() => getComputedStyle(document.documentElement).filter);
    assert.equal(await filter(), 'brightness(0.05)');
    await page.reload();
    await isLive(page);
    assert.equal(await filter(), 'brightness(0.05)');
    assert.equal(await page.evaluate(() => document.querySelector('meta[name=theme-color]').content), '#000000');
    await page.locator('#full').click();
    await until(() => page.evaluate(() => document.fullscreenElement !== null), 'the whole screen');
    await page.locator('#full').click();
    await until(() => page.evaluate(() => document.fullscreenElement === null), 'the window again');
    assert.deepEqual(page.errors, []);
});

test('the driver that ends with its last client is there again in seconds, and opens no link', async () => {
    const ended = Date.now();
    await system.disconnect();
    await page.waitForFunction(() => document.body.dataset.live === 'no', undefined, { timeout: 30_000 });
    const lost = Date.now();
    await isLive(page);
    assert.ok(Date.now() - lost > 1500, `${Date.now() - lost} ms`);
    assert.ok(Date.now() - ended < 30_000);
    await pause(1000);
    await waitForState(page, 'Not connected');
});
