// The page without a mouse and without a finger: every control is reached, and a slew is made and stopped.

import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { handBox, openPage, startBrowser, unfold, waitForState, windowOf } from './support/browser.mjs';
import { System, until } from './support/system.mjs';

const kMostSteps = 400;

let system;
let browser;
let page;

before(async () => {
    [system, browser] = await Promise.all([System.start(), startBrowser()]);
    await system.connect();
    page = await openPage(browser, system);
    await waitForState(page, 'Tracking');
});
after(async () => {
    await browser?.close();
    await system?.end();
});

/** Where the keyboard is: the control or the element, and whether a person sees it. */
const focused = () =>
    page.evaluate(() => {
        const element = document.activeElement;
        const { outlineStyle, outlineWidth } = getComputedStyle(element);
        return {
            name: element.closest('[data-control]')?.dataset.control ?? element.id,
            form: element.closest('[data-form]')?.dataset.form ?? element.closest('dialog')?.querySelector('[data-form]').dataset.form ?? '',
            body: element === document.body,
            ring: outlineStyle !== 'none' && parseFloat(outlineWidth) >= 2,
        };
    });

/** Presses Tab until the focus is where it is wanted. */
async function tabTo(what, isThere) {
    for (let step = 0; step < kMostSteps; step += 1) {
        await page.keyboard.press('Tab');
        if (isThere(await focused())) return;
    }
    throw new Error(`Tab does not come to ${what}`);
}
const tabToControl = (form, name) => tabTo(`${form}.${name}`, (at) => at.form === form && at.name === name);
const tabToElement = (id) => tabTo(`#${id}`, (at) => at.name === id);

async function press(form, name) {
    await tabToControl(form, name);
    await page.keyboard.press('Enter');
}

/** All that a person can use now, in the part of the page that `root` selects. */
const usable = (root) =>
    page.locator(root).locator('button[data-control], input[data-control], .list[data-control] > button, .table[data-control]').evaluateAll((all) =>
        all
            .filter((element) => !element.disabled && element.checkVisibility())
            .filter((element) => element.type !== 'radio' || element.checked) // the arrow keys go to the others of a group
            .map((element) => element.closest('[data-control]').dataset.control),
    );

/** Every stop of the Tab key, once round. */
async function walk() {
    const stops = [];
    const isFirst = ({ form, name }) => stops.length > 1 && stops[0].form === form && stops[0].name === name;
    for (let step = 0; step < kMostSteps; step += 1) {
        await page.keyboard.press('Tab');
        const at = await focused();
        if (isFirst(at)) return stops;
        if (at.name || stops.length) stops.push(at);
    }
    throw new Error('Tab does not come round');
}

async function expectReached(stops, root) {
    const names = new Set(stops.map(({ name }) => name));
    const wanted = await usable(root);
    assert.ok(wanted.length > 0);
    assert.deepEqual(wanted.filter((name) => !names.has(name)), [], 'not reached by the keyboard');
    assert.deepEqual(stops.filter(({ ring, body }) => !ring && !body).map(({ form, name }) => `${form}.${name}`), [], 'reached, and not seen to be');
}

test('Tab reaches each control of the hand box, and shows where it is', async () => {
    await handBox(page, 'chkShowAllControls').check();
    await unfold(page);
    await page.evaluate(() => (document.activeElement.blur(), scrollTo(0, 0)));
    await expectReached(await walk(), '#handbox');
});

test('the menu opens, and its entries are chosen', async () => {
    await tabToElement('menuButton');
    await page.keyboard.press('Enter');
    await press('', 'mPopSetup');
    await windowOf(page, 'frmInitialSetup').waitFor();
    await unfold(page);
});

test('Tab stays in a dialog and reaches each control of it, and Escape closes it', async () => {
    await until(async () => (await focused()).form === 'frmInitialSetup', 'the focus to be in the dialog');
    const stops = await walk();
    await expectReached(stops, '[data-form=frmInitialSetup]');
    assert.deepEqual(stops.filter(({ form, body }) => form !== 'frmInitialSetup' && !body), []);
    await page.keyboard.press('Escape');
    await windowOf(page, 'frmInitialSetup').waitFor({ state: 'hidden' });
});

test('a bookmark is written, chosen and slewed to, and the space bar stops the slew', async () => {
    const form = 'frmAskGotoRaDec';
    const ra = ((await system.get('siderealtime')) + 21) % 24;
    await press('frmHandBox', 'btnSlewRaDec');
    await windowOf(page, form).waitFor();
    for (const [name, text] of [['txtDescription', 'By keys'], ['txtRA', `${Math.floor(ra)} 00 00`], ['txtDec', '-10 00 00']]) {
        await tabToControl(form, name);
        await page.keyboard.press('Control+A');
        await page.keyboard.type(text);
    }
    await press(form, 'btnAdd');
    await windowOf(page, form).getByRole('option', { name: /By keys/ }).waitFor();
    await tabToControl(form, 'lvwRaDec');
    await page.keyboard.press('End');
    await press(form, 'btnGoto');
    await windowOf(page, 'frmAskMessage').waitFor();
    await press('frmAskMessage', 'btnOK');
    await waitForState(page, 'Slewing');
    await page.keyboard.press('Space');
    await waitForState(page, 'Tracking');
    await page.keyboard.press('Escape');
    await windowOf(page, form).waitFor({ state: 'hidden' });
    assert.deepEqual(page.errors, []);
});
