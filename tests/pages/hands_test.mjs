// What moves the telescope: the pad by mouse, touch and keys, and STOP from everywhere.

import assert from 'node:assert/strict';
import { after, afterEach, before, test } from 'node:test';
import { handBox, openPage, startBrowser, stateOf, textOf, unfold, waitForState } from './support/browser.mjs';
import { System, pause, until } from './support/system.mjs';

let system;
let browser;
let page;

before(async () => {
    [system, browser] = await Promise.all([System.start(), startBrowser()]);
    await system.connect();
    page = await openPage(browser, system, { touch: true });
    await waitForState(page, 'Tracking');
});
afterEach(async () => {
    assert.deepEqual(page.errors, []);
    await system.put('abortslew');
    await waitForState(page, 'Tracking');
});
after(async () => {
    await browser?.close();
    await system?.end();
});

/** Degrees that the declination goes in that time. */
async function goes(ms = 1500) {
    const from = await system.get('declination');
    await pause(ms);
    return Math.abs((await system.get('declination')) - from);
}
/** Where the machine is busy a hold may end in silence before it is heard: then a person presses again. */
async function holdUntilItMoves(press, release) {
    for (let tries = 1; ; ++tries) {
        await press();
        try {
            return await until(async () => (await goes(600)) > 0.002, 'the mount to move', 5000);
        } catch (error) {
            if (tries === 4) throw error;
            await release();
        }
    }
}
const mouseDown = async () => {
    await north().hover();
    await page.mouse.down();
};
const mouseUp = () => page.mouse.up();
const stands = () => until(async () => (await goes(1200)) < 0.0005, 'the mount to stand', 6000);
const north = () => handBox(page, 'btnMove(1)');

test('the pad moves the mount as long as the mouse holds it', async () => {
    await holdUntilItMoves(mouseDown, mouseUp);
    assert.equal(await page.locator('.held').count(), 1);
    await page.mouse.up();
    await stands();
    assert.equal(await page.locator('.held').count(), 0);
});

test('a direction is held that is pressed right after another one', async () => {
    await holdUntilItMoves(mouseDown, mouseUp);
    await page.mouse.up();
    const southDown = async () => {
        await handBox(page, 'btnMove(7)').hover();
        await page.mouse.down();
    };
    await southDown();
    await pause(200);
    assert.equal(await page.locator('.held').count(), 1, 'the other one has not let go of it');
    await page.mouse.up();
    await holdUntilItMoves(southDown, mouseUp);
    await page.mouse.up();
    await stands();
});

test('a finger moves the mount, and a second finger ends it', async () => {
    const { x, y, width, height } = await north().boundingBox();
    const finger = { x: x + width / 2, y: y + height / 2, id: 1 };
    const cdp = await page.context().newCDPSession(page);
    const touch = (type, touchPoints) => cdp.send('Input.dispatchTouchEvent', { type, touchPoints });
    await holdUntilItMoves(
        () => touch('touchStart', [finger]),
        () => touch('touchEnd', []),
    );
    await touch('touchStart', [finger, { x: 20, y: 300, id: 2 }]);
    await stands();
    await touch('touchEnd', []);
});

test('the arrow keys are the pad', async () => {
    await page.locator('body').focus();
    await holdUntilItMoves(
        () => page.keyboard.down('ArrowUp'),
        () => page.keyboard.up('ArrowUp'),
    );
    await page.keyboard.up('ArrowUp');
    await stands();
});

test('a hold ends when the window loses the focus', async () => {
    await holdUntilItMoves(mouseDown, mouseUp);
    await page.evaluate(() => dispatchEvent(new Event('blur')));
    await stands();
    await page.mouse.up();
});

/** What takes the hand, the eye or the page away; each is told as the browser tells it. */
const kEnds = {
    'a hand that the system takes': (button) => button.dispatchEvent(new PointerEvent('pointercancel')),
    'a capture that is lost': (button) => button.dispatchEvent(new PointerEvent('lostpointercapture')),
    'a button that loses the focus': (button) => button.dispatchEvent(new FocusEvent('blur')),
    'a window that loses the focus': () => dispatchEvent(new Event('blur')),
    'a page that goes': () => dispatchEvent(new Event('pagehide')),
    'a page that is hidden': () => {
        Object.defineProperty(document, 'hidden', { value: true, configurable: true });
        document.dispatchEvent(new Event('visibilitychange'));
        delete document.hidden;
    },
    'a key of the system': () => dispatchEvent(new KeyboardEvent('keydown', { key: 'Meta' })),
};
for (const [name, end] of Object.entries(kEnds)) {
    test(`${name} ends a hold`, async () => {
        await page.evaluate(() => {
            window.sent = [];
            window.usualSend = WebSocket.prototype.send;
            WebSocket.prototype.send = function (text) {
                window.sent.push(JSON.parse(text));
                window.usualSend.call(this, text);
            };
        });
        await mouseDown();
        await until(async () => (await page.locator('.held').count()) === 1, 'the button to be held');
        await north().evaluate(end);
        assert.equal(await page.locator('.held').count(), 0);
        const sent = await page.evaluate(() => ((WebSocket.prototype.send = window.usualSend), window.sent));
        const hold = sent.findLast((report) => report.do === 'hold');
        assert.deepEqual(sent.filter((report) => report.do === 'release'), [{ do: 'release', hold: hold.hold }]);
        await page.mouse.up();
        await stands();
    });
}

test('a gamepad moves the mount by its stick, and stops it by a button', async () => {
    await page.evaluate(() => {
        const buttons = Array.from({ length: 17 }, () => ({ pressed: false }));
        window.pad = { axes: [0, 0], buttons };
        navigator.getGamepads = () => [window.pad];
        dispatchEvent(new Event('gamepadconnected'));
    });
    const tilt = (x, y) => page.evaluate((axes) => (window.pad.axes = axes), [x, y]);
    await holdUntilItMoves(
        () => tilt(0, -1),
        () => tilt(0, 0),
    );
    assert.equal(await handBox(page, 'btnMove(1)').evaluate((button) => button.classList.contains('held')), true);
    await tilt(0, 0);
    await stands();
    await slewAway();
    await page.evaluate(() => (window.pad.buttons[1].pressed = true));
    await standsStopped();
    await page.evaluate(() => ((window.pad.buttons[1].pressed = false), dispatchEvent(new Event('gamepaddisconnected'))));
    await page.evaluate(() => (navigator.getGamepads = () => []));
});

test('a refusal that comes late leaves the button that is held by then alone', async () => {
    await page.evaluate(() => {
        window.usualSend = WebSocket.prototype.send;
        WebSocket.prototype.send = function (text) {
            const report = JSON.parse(text);
            if (report.do === 'hold' && !window.first) {
                window.first = report.id; // this one is refused, when the next one is down
                report.beat = 1;
                setTimeout(() => window.usualSend.call(this, JSON.stringify(report)), 300);
                return;
            }
            window.usualSend.call(this, text);
        };
    });
    await mouseDown();
    await page.mouse.up();
    await mouseDown();
    await pause(600);
    assert.equal(await page.locator('.held').count(), 1);
    await page.evaluate(() => (WebSocket.prototype.send = window.usualSend));
    await page.mouse.up();
    assert.equal(await page.locator('.held').count(), 0);
    await stands();
});

test('a browser that is killed in a hold lets go', async () => {
    const other = await startBrowser();
    const held = await openPage(other, system);
    await handBox(held, 'btnMove(1)').hover();
    await holdUntilItMoves(
        () => held.mouse.down(),
        () => held.mouse.up(),
    );
    const gone = held.waitForEvent('close').catch(() => {});
    const crashed = other.newBrowserCDPSession().then((cdp) => cdp.send('Browser.crash').catch(() => {}));
    await Promise.race([crashed, gone]);
    await pause(1500);
    assert.ok((await goes(1500)) < 0.0005, 'it stands after 1.5 s');
    await other.close().catch(() => {});
});

async function slewAway() {
    const dec = await system.get('declination');
    await system.put('slewtocoordinatesasync', { RightAscension: await system.get('rightascension'), Declination: dec > 40 ? dec - 30 : dec + 30 });
    await waitForState(page, 'Slewing');
}
async function standsStopped() {
    await until(async () => !(await system.get('slewing')), 'the slew to end', 3000);
}

test('STOP ends a slew, and says that it was heard', async () => {
    await slewAway();
    await page.locator('#stop').click();
    await until(async () => (await textOf(page, '#stop')) === 'STOP HEARD', 'the answer');
    await standsStopped();
});

for (const key of ['Escape', ' ']) {
    test(`${key === ' ' ? 'the space bar' : key} is STOP while anything moves`, async () => {
        await slewAway();
        await page.keyboard.press(key);
        await standsStopped();
    });
}

test('each dialog has its STOP, and stays open', async () => {
    await unfold(page);
    const openers = [
        () => handBox(page, 'btnSlewRaDec').click(),
        () => page.locator('#menuButton').click().then(() => handBox(page, 'mPopSetup').click()),
        () => page.locator('#menuButton').click().then(() => handBox(page, 'mPopFocuser').click()),
    ];
    for (const open of openers) {
        await open();
        const dialog = page.locator('dialog[open]');
        await dialog.waitFor();
        await slewAway();
        await dialog.locator('.stopButton').click();
        await standsStopped();
        assert.equal(await dialog.count(), 1);
        await slewAway();
        await page.keyboard.press('Escape');
        await standsStopped();
        assert.equal(await dialog.count(), 1, 'Escape stops while anything moves');
        await waitForState(page, 'Tracking');
        await page.keyboard.press('Escape');
        await until(async () => (await dialog.count()) === 0, 'Escape to close the dialog');
    }
});

/** What the page sends goes nowhere, and what the driver sends still comes. */
const killSocket = () => page.evaluate(() => (window.deadSend = WebSocket.prototype.send, (WebSocket.prototype.send = () => {})));
const reviveSocket = () => page.evaluate(() => (WebSocket.prototype.send = window.deadSend));

test('STOP is heard when the socket is dead', async () => {
    await slewAway();
    await killSocket();
    await page.locator('#stop').click();
    await until(async () => (await textOf(page, '#stop')) === 'STOP HEARD', 'the answer', 1500);
    await standsStopped();
    await reviveSocket();
});

test('STOP says NOT HEARD when the driver cannot be reached', async () => {
    await page.route('**/view/stop', () => {}); // no answer
    await killSocket();
    const pressed = Date.now();
    await page.locator('#stop').click();
    await until(async () => (await textOf(page, '#stop')) === 'NOT HEARD', 'the warning', 3000);
    assert.ok(Date.now() - pressed < 2500);
    await reviveSocket();
    await page.unroute('**/view/stop');
    await until(async () => (await textOf(page, '#stop')) === 'STOP', 'STOP to be STOP again', 6000);
});

test('a hold that the driver has ended is shown as ended', async () => {
    await holdUntilItMoves(mouseDown, mouseUp);
    await killSocket();
    await until(async () => (await page.locator('.held').count()) === 0, 'the button to be shown as let go', 3000);
    await stands();
    await page.mouse.up();
    await reviveSocket();
});

test('a press with an old beat moves nothing, and the page says so', async () => {
    await page.evaluate(() => {
        const send = WebSocket.prototype.send;
        window.freshSend = send;
        WebSocket.prototype.send = function (text) {
            send.call(this, text.replace(/"beat":\d+/, '"beat":1'));
        };
    });
    await north().hover();
    await page.mouse.down();
    assert.ok((await goes(1500)) < 0.0005);
    await page.mouse.up();
    await page.evaluate(() => (WebSocket.prototype.send = window.freshSend));
    assert.notEqual((await textOf(page, '#notices')).trim(), '');
    assert.equal(await stateOf(page), 'Tracking');
});
