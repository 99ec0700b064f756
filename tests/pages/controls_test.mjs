// Every control of every window, used on one page: the driver takes it, and a second page shows it.

import assert from 'node:assert/strict';
import { symlink } from 'node:fs/promises';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { handBox, openPage, startBrowser, unfold, waitForState, windowOf } from './support/browser.mjs';
import { System, pause, until } from './support/system.mjs';
import { closeWindow, frameOf, kWindows } from './support/windows.mjs';

/** Controls that nobody can use as the windows stand here. */
const kNotUsed = {
    // what only shows, and what this controller does not have
    frmHandBox: ['chkEnableKingRate', 'txtSiteName', 'txtLatitude', 'txtLongitude', 'txtElevation', 'txtActualLatitude', 'txtActualLongitude'],
    frmInitialSetup: ['txtQuayIpAddr'],
    // without a companion
    frmQuaySettings: ['chkEnableQUAYPointingCorrection', 'chkEnableQUAYTrackingRateCorrection'],
};
/** What comes first: a list gets a second entry, and what is only shown beside other choices is used. Tells which. */
const kPrepares = {
    frmInitialSetup: async () => {
        const form = 'frmInitialSetup';
        const node = (name) => windowOf(page, form).locator(`[data-control="${name}"]`);
        await node('chkIPAddress').check();
        await use(form, 'txtIpAddress');
        await node('chkIPAddress').uncheck();
        await putBack(form, node('cbxInitSlewRate'), 'Custom');
        await use(form, 'txtCustomSlewRate');
        await node('btnNewSite').click();
        const texts = { txtSiteName: 'Second', txtLatDeg: '10', txtLatMin: '20', txtLatSec: '30', txtLongDeg: '10', txtLongMin: '20', txtLongSec: '30', txtElevation: '100' };
        for (const [name, text] of Object.entries(texts)) {
            await node(name).fill(text);
            await node(name).press('Tab');
        }
        for (const name of ['cbxNS', 'cbxEW']) {
            await node(name).locator('[role=combobox]').click();
            await node(name).locator('[role=option]').first().click();
        }
        await node('btnSaveSiteInfo').click();
        await until(async () => (await node('cbxSiteList').locator('[role=option]').count()) === 2, 'the second site');
        return ['txtIpAddress', 'txtCustomSlewRate'];
    },
};
/** Controls that end the driver, which another test does. */
const kEndsDriver = { frmAskUserCloseDriver: ['btnOK'] };

let system;
let browser;
let page;
let other;
let connected = false;

before(async () => {
    const settings = { ShowInitNowButton: '1', cbxInitSlewRate: '3', cbxParkTo: '6', cbxParkToText: 'Alt/Az', txtUserParkAlt: '35', txtUserParkAz: '120' };
    const mount = ['--unparked', '--firmware', 'U', '--slew-speed', '20']; // one with a focuser
    [system, browser] = await Promise.all([System.start({ settings, mount }), startBrowser()]);
    const ports = join(system.folder, 'Kestrane', 'Ports');
    await symlink(join(ports, 'COM1'), join(ports, 'COM2'));
    [page, other] = [await openPage(browser, system), await openPage(browser, system)];
    await handBox(page, 'chkShowAllControls').check();
    await unfold(page);
    await unfold(other);
});
after(async () => {
    await browser?.close();
    await system?.end();
});

const kindOf = (node) =>
    node.evaluate((element) => {
        if (element.matches('.list')) return 'list';
        if (element.matches('.table')) return 'table';
        if (element.matches('input')) return element.type;
        return element.matches('button') ? 'button' : '';
    });

/** What the page shows of a control. */
const valueOf = (node, kind) =>
    node.evaluate((element, of) => {
        if (of === 'checkbox' || of === 'radio') return element.checked;
        if (of === 'list') return element.querySelector('[role=combobox]').textContent;
        if (of === 'table') return element.querySelector('[aria-selected=true]')?.textContent ?? '';
        return element.value;
    }, kind);

/** A text of the same kind that a box may hold too. */
const otherText = (text) => (/^-?\d+(\.\d+)?$/.test(text) ? `${(Number(text) + 1) % 60}` : /^\d+ \d+/.test(text) ? '11 12 13' : `${text}1`);

async function chooseIn(list, option) {
    await list.locator('[role=combobox]').click();
    await list.locator(option).first().click();
}

const uses = {
    text: async (node) => {
        await node.fill(otherText(await node.inputValue()));
        await node.press('Tab');
    },
    checkbox: (node) => node.click(),
    radio: async (node) => {
        if (await node.isChecked()) {
            const group = await node.evaluate(({ name }) => name);
            await page.locator(`input[name="${group}"]:not(:checked)`).first().click();
            await until(async () => !(await node.isChecked()), 'another of the group to be chosen', 15_000);
        }
        await node.click();
    },
    range: async (node) => {
        const { value, max } = await node.evaluate(({ value: now, max: most }) => ({ value: now, max: most }));
        await node.press(value === max ? 'ArrowLeft' : 'ArrowRight');
    },
    list: (node) => chooseIn(node, '[role=option]:not([aria-selected=true])'),
    table: (node) => node.locator('[role=option]').first().click(),
    button: async (node, answered) => {
        await node.hover();
        await page.mouse.down();
        const isHeld = await node.evaluate((element) => element.classList.contains('held'));
        if (isHeld) await until(answered, 'the hold to be heard', 15_000);
        await page.mouse.up();
    },
};

/** The dialog that lies above all others, if it is not that of the window. */
const dialogAbove = (form) =>
    page.locator('dialog[open]').evaluateAll((dialogs, own) => {
        const top = dialogs.find((dialog) => {
            dialog.querySelector('.close').scrollIntoView({ block: 'nearest' });
            const { x, y, width } = dialog.querySelector('.close').getBoundingClientRect();
            return dialog.contains(document.elementFromPoint(x + width / 2, y + 5));
        });
        const name = top?.querySelector('[data-form]').dataset.form;
        return name === own ? undefined : name;
    }, form);

async function closeAllBut(form) {
    for (let tries = 0; ; tries += 1) {
        const top = await dialogAbove(form);
        if (!top) return;
        if (tries === 20) throw new Error(`${top} does not close: ${await windowOf(page, top).innerText()}`);
        await frameOf(page, top).locator('.close').click();
        await pause(100);
    }
}

async function putBack(form, list, text) {
    await pause(200);
    await closeAllBut(form); // the choice may have opened a warning
    const option = `[role=option]:text-is("${text}")`;
    if (await list.locator(option).count()) await chooseIn(list, option);
}

async function use(form, name, node = windowOf(page, form).locator(`[data-control="${name}"]`)) {
    const kind = await kindOf(node);
    const before = await valueOf(node, kind);
    page.reports.length = 0;
    const answer = () => page.reports.findLast((report) => report.form === form && report.control === name)?.answer;
    await uses[kind](node, answer);
    // Where it asks a question it is heard when that is answered.
    let asks = false;
    await until(async () => {
        if (await dialogAbove(form)) asks = true;
        if (asks) await closeAllBut(form);
        return answer();
    }, `an answer about ${form}.${name}`, 15_000);
    assert.equal(answer(), 'heard', `${form}.${name}`);
    if (kind === 'list' && asks) await putBack(form, node, before);
    if (kind === 'button' || asks) return;
    const there = windowOf(other, form).locator(`[data-control="${name}"]`);
    await until(async () => (await valueOf(there, kind)) !== before || kind === 'radio' || kind === 'table', `${form}.${name} to be another than ${before} on the second page`, 15_000);
    await until(async () => (await valueOf(there, kind)) === (await valueOf(node, kind)), `${form}.${name} to be the same on both pages`, 15_000);
    if (kind === 'checkbox') await node.click(); // others depend on it
    if (kind === 'list') await putBack(form, node, before);
}

const kUsable = 'button[data-control], input[data-control], .list[data-control], .table[data-control]';
const isUsable = (node) =>
    node.evaluate((element) => {
        const list = element.matches('.list') && element.querySelector('[role=combobox]');
        const hasChoice = !element.matches('.list, .table') || element.querySelectorAll('[role=option]').length > (list ? 1 : 0);
        return hasChoice && !(list || element).disabled && element.checkVisibility();
    });
const isLast = (name) => name === 'btnOK' || name === 'btnYes';

/** Ticks each box and chooses a rate of one's own: other controls depend on them. */
async function allowAll(window, form) {
    if (!(await windowOf(page, form).isVisible())) await openAnew(window, form);
    const boxes = windowOf(page, form).locator('input[type=checkbox]');
    for (const name of await boxes.evaluateAll((all) => all.map(({ dataset }) => dataset.control))) {
        const box = windowOf(page, form).locator(`[data-control="${name}"]`);
        if (!(await isUsable(box)) || (await box.isChecked())) continue;
        await box.click();
        await pause(150);
        await closeAllBut(form);
    }
    const rates = windowOf(page, form).locator('[data-control=cbxInitSlewRate]');
    if (await rates.count()) await putBack(form, rates, 'Custom');
}

const kWithoutLink = new Set(['frmInitialSetup', 'frmSetupFocuser']); // what the link is made of stands still while it is open
/** Without a link first, and last what deletes a site. */
const placeOf = ({ form }) => (kWithoutLink.has(form) ? 0 : form === 'frmAskMessage' ? 2 : 1);
const windows = kWindows.toSorted((a, b) => placeOf(a) - placeOf(b));

async function connect() {
    if (connected) return;
    connected = true;
    await system.connect();
    await waitForState(page, 'Tracking');
}

/** Open, with nothing above it, on a mount that tracks. */
async function openAnew(window, form) {
    if (form !== 'frmHandBox') await window.after?.(page, system);
    if (!kWithoutLink.has(form)) {
        await system.put('abortslew');
        if (await system.get('atpark')) await system.put('unpark');
        await system.put('tracking', { Tracking: 'true' });
    }
    await window.open(page, system);
    await windowOf(page, form).waitFor();
    await unfold(page);
}

async function useAll(window, form, names) {
    const unused = [];
    for (const name of names) {
        if (!(await windowOf(page, form).isVisible())) await openAnew(window, form);
        if (await isUsable(windowOf(page, form).locator(`[data-control="${name}"]`))) {
            await use(form, name);
            await pause(150);
            await closeAllBut(form);
        } else {
            unused.push(name);
        }
    }
    return unused;
}

for (const window of windows) {
    const form = window.form || 'frmHandBox';
    test(`each control of ${form}`, async () => {
        await closeAllBut(undefined);
        if (!kWithoutLink.has(form)) await connect();
        await openAnew(window, form);
        const nodes = form === 'frmHandBox' ? page.locator('#handbox').locator(kUsable) : windowOf(page, form).locator(kUsable);
        const all = await nodes.evaluateAll((controls) => controls.map(({ dataset }) => dataset.control));
        const names = all.filter((name) => !kEndsDriver[form]?.includes(name));
        names.sort((a, b) => isLast(a) - isLast(b)); // they may change what the others need
        const used = (await kPrepares[form]?.()) ?? [];
        let unused = await useAll(window, form, names.filter((name) => !used.includes(name)));
        await allowAll(window, form);
        unused = await useAll(window, form, unused); // what the others have made usable
        if (form === 'frmHandBox') {
            await handBox(page, 'chkShowAllControls').uncheck();
            unused = await useAll(window, form, await useAll(window, form, unused));
            await handBox(page, 'chkShowAllControls').check();
        }
        assert.deepEqual(unused, kNotUsed[form] ?? []);
        if (window.form && (await windowOf(page, form).isVisible())) await closeWindow(page, system, window);
        assert.deepEqual(page.errors, []);
    });
}

test('each entry of the menu', async () => {
    await closeAllBut(undefined);
    await connect();
    const entries = page.locator('#menu [data-control]');
    const names = await entries.evaluateAll((all) => all.filter((entry) => !entry.disabled && !entry.hidden).map(({ dataset }) => dataset.control));
    assert.ok(names.length > 15);
    for (const name of names) {
        await page.locator('#menuButton').click();
        await use('frmHandBox', name, page.locator(`#menu [data-control="${name}"]`));
        await pause(300); // a dialog may open a moment after the press was heard
        await closeAllBut(undefined);
    }
    assert.deepEqual(page.errors, []);
});
