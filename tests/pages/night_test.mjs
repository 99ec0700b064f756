// The night of a person with nothing but a browser: connect, slew, nudge, park, disconnect; and what the page tells of it.

import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { after, before, test } from 'node:test';
import { handBox, openPage, startBrowser, stateOf, textOf, unfold, waitForState, windowOf } from './support/browser.mjs';
import { System, pause, until } from './support/system.mjs';

let system;
let browser;
let page;
let other;

before(async () => {
    [system, browser] = await Promise.all([
        System.start({ settings: { chkEnableDebugLog: '1', cbxParkTo: '6', cbxParkToText: 'Alt/Az', txtUserParkAlt: '50', txtUserParkAz: '120' } }),
        startBrowser(),
    ]);
    [page, other] = [await openPage(browser, system, { touch: true }), await openPage(browser, system)];
});
after(async () => {
    await browser?.close();
    await system?.end();
});

const banners = () => textOf(page, '#banners');
const clients = () => textOf(page, '[data-control=lblClients]');

test('a page without any program says so, and connects the mount itself', async () => {
    await page.locator('#offer').waitFor();
    assert.match(await clients(), /0 \/ 0|^$/);
    await page.locator('#connect').click();
    await waitForState(page, 'Tracking');
    await page.locator('#offer').waitFor({ state: 'hidden' });
    await page.locator('#disconnect').waitFor();
    await until(async () => /1 \/ 0/.test(await clients()), 'a client to be counted');
    await waitForState(other, 'Tracking');
});

test('the page that comes back is the same client', async () => {
    await page.reload();
    await waitForState(page, 'Tracking');
    await page.locator('#disconnect').waitFor();
    assert.match(await clients(), /1 \/ 0/);
});

test('sidereal time and hour angle stand there both', async () => {
    assert.match(await textOf(page, '#handbox [data-control=lblLST]'), /^\d\d:\d\d:\d\d/);
    assert.match(await textOf(page, '#otherTime output:last-child'), /^[+-]\d\d:\d\d:\d\d\.\d$/);
    await handBox(page, 'lblLstHA').click();
    await until(async () => (await textOf(page, '#otherTime output:first-child')) === 'LST', 'the two to change their places');
    await handBox(page, 'lblLstHA').click();
});

test('a bookmark is added on one page and slewed to on the other', async () => {
    await unfold(page);
    await handBox(page, 'btnSlewRaDec').click();
    const here = windowOf(page, 'frmAskGotoRaDec');
    await here.waitFor();
    const ra = (await system.client('get', 'siderealtime', {}, 77)) - 2;
    const hours = Math.floor((ra + 24) % 24);
    await here.locator('[data-control=txtDescription]').fill('Star of the test');
    await here.locator('[data-control=txtRA]').fill(`${hours}:00:00`);
    await here.locator('[data-control=txtDec]').fill('30:00:00');
    await here.locator('[data-control=txtDec]').press('Tab');
    await here.locator('[data-control=btnAdd]').click();
    const there = windowOf(other, 'frmAskGotoRaDec');
    const row = there.getByRole('option', { name: /Star of the test/ });
    await row.waitFor();
    await row.click();
    await until(async () => (await here.locator('[data-control=txtDec]').inputValue()).includes('30'), 'the row in the boxes of both pages');
    await there.locator('[data-control=btnGoto]').click();
    await windowOf(other, 'frmAskMessage').locator('[data-control=btnOK]').click().catch(() => {});
    await waitForState(page, 'Slewing');
    assert.match(await textOf(page, '#left'), /left/);
    await waitForState(page, 'Tracking');
    await until(async () => Math.abs((await system.client('get', 'declination', {}, 77)) - 30) < 0.1, 'the mount to be there');
    assert.match(await banners(), /The slew has ended/);
    await page.locator('dialog[open] .close').click();
});

const declination = () => system.client('get', 'declination', {}, 77);

test('a finger nudges the mount', async () => {
    const north = handBox(page, 'btnMove(1)');
    await north.evaluate((button) => button.scrollIntoView({ block: 'center' })); // STOP lies at the edge
    const { x, y, width, height } = await north.boundingBox();
    const cdp = await page.context().newCDPSession(page);
    const touch = (type, touchPoints) => cdp.send('Input.dispatchTouchEvent', { type, touchPoints });
    const before = await declination();
    const moves = until(async () => Math.abs((await declination()) - before) > 0.001, 'the mount to move');
    for (let moved = false; !moved; ) {
        await touch('touchStart', [{ x: x + width / 2, y: y + height / 2, id: 1 }]); // again, where a busy machine has let go
        moved = await Promise.race([moves.then(() => true), pause(4000)]);
        if (!moved) await touch('touchEnd', []);
    }
    await touch('touchEnd', []);
    await pause(1500);
    const stopped = await declination();
    await pause(1000);
    assert.ok(Math.abs((await declination()) - stopped) < 0.0005, 'it stands');
});

test('a sync by a program is shown', async () => {
    await system.client('put', 'connected', { Connected: 'true' }, 77);
    const wanted = { RightAscension: `${await system.client('get', 'rightascension', {}, 77)}`, Declination: `${(await declination()) + 0.25}` };
    await system.client('put', 'synctocoordinates', wanted, 77);
    const shown = async () => {
        const [degrees, minutes, seconds] = (await textOf(page, '#handbox [data-control=lblDEC]')).split(':').map(Number);
        return degrees + minutes / 60 + seconds / 3600;
    };
    await until(async () => Math.abs((await shown()) - wanted.Declination) < 0.01, 'the page to show where the mount is now');
    await system.client('put', 'connected', { Connected: 'false' }, 77);
});

test('the chart shows drift and guide pulses, and is saved as a table and as a picture', async () => {
    await system.client('put', 'connected', { Connected: 'true' }, 77);
    await system.client('put', 'pulseguide', { Direction: '3', Duration: '350' }, 77);
    const chart = page.locator('#chart');
    const words = () => chart.locator('[data-rms]').innerText();
    await until(async () => /^RMS: RA \d+\.\d\d″, Dec \d+\.\d\d″\. Pulses: 1\.$/.test(await words()), 'a measured drift and a pulse');
    assert.equal(await chart.locator('[data-span]').innerText(), '5 min');
    await chart.locator('[data-in]').click();
    await until(async () => (await chart.locator('[data-span]').innerText()) === '1 min', 'a shorter time to be shown');
    const saved = async (button) => {
        const [download] = await Promise.all([page.waitForEvent('download'), chart.locator(button).click()]);
        return readFile(await download.path());
    };
    const rows = (await saved('[data-csv]')).toString().trim().split('\r\n');
    assert.match(rows[0], /^seconds,date,time,kind,ra_hours,dec_degrees,tracks,/);
    assert.ok(rows.filter((row) => row.includes(',position,')).length > 5, 'positions');
    assert.equal(rows.filter((row) => row.endsWith(',W,350')).length, 1, 'the pulse');
    const picture = await saved('[data-png]');
    assert.equal(picture.subarray(1, 4).toString(), 'PNG');
    await system.client('put', 'connected', { Connected: 'false' }, 77);
});

test('STOP ends a slew, and the page says so', async () => {
    const ra = await system.client('get', 'siderealtime', {}, 77);
    await system.client('put', 'connected', { Connected: 'true' }, 77);
    await system.client('put', 'slewtocoordinatesasync', { RightAscension: `${(ra + 21) % 24}`, Declination: '-10' }, 77);
    await waitForState(page, 'Slewing');
    await page.locator('#stop').click();
    await waitForState(page, 'Tracking');
    await until(async () => /The slew was stopped|The slew has ended/.test(await banners()), 'a word of it');
    await system.client('put', 'connected', { Connected: 'false' }, 77);
});

test('what a person wants to hear of is told, each in the ways that are switched on', async () => {
    const told = await page.evaluate(async () => {
        const { Alerts } = await import('/page/alerts.js?fresh'); // without the sound of the page
        const heard = { tones: 0, notes: [] };
        const tone = { frequency: {}, gain: {}, connect: (to) => to, start: () => (heard.tones += 1), stop: () => {} };
        globalThis.AudioContext = class {
            createOscillator = () => ({ ...tone, frequency: {} });
            createGain = () => ({ ...tone, gain: {} });
        };
        globalThis.Notification = class {
            static permission = 'granted';
            constructor(title, { body }) {
                heard.notes.push(body);
                if (window.notesFail) throw new TypeError('not here');
            }
        };
        const alertsOf = (ways) => {
            const banners = document.createElement('div');
            const alerts = new Alerts(document.createElement('div'), banners);
            alerts.on = { banner: false, sound: false, notification: false, ...ways };
            const counts = {};
            const look = (state, refused = '') => alerts.look({ lblState: state, lblRefused: refused }, { text: (name) => counts[name] ?? '0' });
            const words = () => [...banners.children].map((banner) => banner.querySelector('span').textContent.replace(/^\S+\s+/, ''));
            return { look, counts, words };
        };
        const sequences = [
            ['Slewing', 'Tracking'], ['Slewing', 'Slewing'], ['Slewing', 'Parking'], ['Slewing', 'No link'], ['Slewing', 'Not connected'],
            ['Parking', 'Parked'], ['Parking', 'Standing'], ['Parking', 'Not connected'], ['Tracking', 'No link'], ['No link', 'Tracking'],
            ['No link', 'Not connected'], ['Tracking', 'Standing'], ['', 'Tracking'],
        ].map(([from, to]) => {
            const { look, words } = alertsOf({ banner: true });
            look(from);
            look(to);
            return [from, to, ...words()];
        });
        const counted = alertsOf({ banner: true });
        counted.look('Tracking');
        for (const name of ['lblLowPowerCount', 'lblServoFaultCount', 'lblMotorStallCount']) {
            counted.counts[name] = '1';
            counted.look('Tracking');
        }
        const refused = alertsOf({ banner: true });
        for (const text of ['1 Park: of before', '1 Park: of before', '2 SlewToTarget: Parked', '3 SlewToTarget: Parked']) refused.look('Tracking', text);
        const ways = ['sound', 'notification'].map((way) => {
            [heard.tones, heard.notes] = [0, []];
            const { look, words } = alertsOf({ [way]: true });
            look('Slewing');
            look('Tracking');
            return [way, heard.tones, ...heard.notes, ...words()];
        });
        window.notesFail = true;
        const failing = alertsOf({ banner: true, notification: true });
        failing.look('Slewing');
        failing.look('Tracking');
        return { sequences, counted: counted.words(), refused: refused.words(), ways, failing: failing.words() };
    });
    assert.deepEqual(told.sequences, [
        ['Slewing', 'Tracking', 'The slew has ended.'],
        ['Slewing', 'Slewing'],
        ['Slewing', 'Parking'],
        ['Slewing', 'No link', 'The mount does not answer.'],
        ['Slewing', 'Not connected'],
        ['Parking', 'Parked', 'The mount is parked.'],
        ['Parking', 'Standing', 'The park has ended; the mount is not parked.'],
        ['Parking', 'Not connected'],
        ['Tracking', 'No link', 'The mount does not answer.'],
        ['No link', 'Tracking', 'The mount answers again.'],
        ['No link', 'Not connected'],
        ['Tracking', 'Standing'],
        ['', 'Tracking'],
    ]);
    assert.deepEqual(told.counted, ['The mount reports low power.', 'The mount reports a servo fault.', 'A motor has stalled.']);
    assert.deepEqual(told.refused, ['Refused: SlewToTarget: Parked', 'Refused: SlewToTarget: Parked']);
    assert.deepEqual(told.ways, [['sound', 2], ['notification', 0, 'The slew has ended.']]);
    assert.deepEqual(told.failing, ['The slew has ended.'], 'what cannot be told in one way is told in the others');
});

test('a slew of a program that is refused is told on the page', async () => {
    await system.client('put', 'connected', { Connected: 'true' }, 77);
    await assert.rejects(system.client('put', 'slewtocoordinates', { RightAscension: '1', Declination: '95' }, 77));
    await until(async () => /Refused: SlewToCoordinates/.test(await banners()), 'the refusal');
    await system.client('put', 'connected', { Connected: 'false' }, 77);
});

test('the window of the clients shows who holds the mount, and releases one', async () => {
    await handBox(page, 'btnClients').click();
    const window = windowOf(page, 'frmClients');
    await window.waitFor();
    await until(async () => /77/.test(await window.innerText()), 'the second client');
    await window.getByRole('option', { name: /Telescope.*not connected/ }).first().click();
    await window.locator('[data-control=btnRelease]').click();
    await windowOf(page, 'frmAskMessage').locator('[data-control=btnOK]').click();
    await until(async () => !/\t77\t|\b77\b/.test(await window.innerText()), 'it to be gone');
    await page.locator('dialog[open] .close').click();
});

test('the log can be searched, held and saved', async () => {
    await page.locator('#menuButton').click();
    await handBox(page, 'mPopShowLogWindow').click();
    const window = windowOf(page, 'frmLogWindow');
    await window.waitFor();
    const shown = () => window.locator('pre div:not([hidden])').count();
    await until(async () => (await shown()) > 3, 'lines of the log');
    await window.locator('.logTools input').fill('no line has this');
    assert.equal(await shown(), 0);
    await window.locator('.logTools input').fill('');
    await window.locator('[data-hold]').click();
    const held = await window.locator('pre div').count();
    await until(async () => /[1-9]\d* new lines wait/.test(await window.innerText()), 'lines to wait');
    assert.equal(await window.locator('pre div').count(), held);
    await window.locator('[data-hold]').click();
    await until(async () => (await window.locator('pre div').count()) > held, 'the lines that waited');
    const [download] = await Promise.all([page.waitForEvent('download'), window.locator('[data-save]').click()]);
    assert.match(download.suggestedFilename(), /^mount-log-.*\.txt$/);
    await window.locator('.close').click();
});

async function park() {
    await handBox(page, 'btnPark').click();
    await windowOf(page, 'frmAskPark').locator('[data-control=btnOK]').click();
    await waitForState(page, 'Parking');
    await until(async () => (await stateOf(page)) === 'Parked', 'the mount to be parked', 60_000);
}

test('a park is told, and the parked mount is unparked where it stands', async () => {
    await handBox(page, 'chkShowAllControls').click();
    await unfold(page);
    await park();
    assert.match(await banners(), /The mount is parked/);
    await handBox(page, 'btnUNPARK').click();
    await windowOf(page, 'frmAskUnpark').locator('[data-control=btnOK]').click();
    await waitForState(page, 'Tracking');
    await waitForState(other, 'Tracking');
    assert.equal(await textOf(page, '#handbox [data-control=lblParkStatus]'), 'Unparked');
});

test('at the end of the night it is parked again, and the page disconnects', async () => {
    await park();
    await page.locator('#disconnect').click();
    await page.locator('#disconnect').waitFor({ state: 'hidden' });
    await until(async () => (await stateOf(page)) === 'Not connected', 'the page to say so');
    await pause(200);
    assert.deepEqual(page.errors, []);
    assert.deepEqual(other.errors, []);
});
