// When the page opens its socket, and when it does not: the module by itself, with a socket and a time of the test.

import assert from 'node:assert/strict';
import { beforeEach, mock, test } from 'node:test';

/** Where the module looks for what a browser has. */
const page = { hidden: false, listeners: [] };
let now;
let timers;
let sockets;

globalThis.document = {
    get hidden() {
        return page.hidden;
    },
    addEventListener: (name, does) => page.listeners.push(does),
};
globalThis.location = { protocol: 'http:', host: 'driver' };
globalThis.setInterval = () => 0;
globalThis.setTimeout = (does, ms) => timers.push({ does, at: now + ms }) && timers.at(-1);
globalThis.clearTimeout = (timer) => (timers = timers.filter((each) => each !== timer));
mock.method(performance, 'now', () => now);
globalThis.WebSocket = class {
    static OPEN = 1;
    readyState = 0;
    constructor() {
        sockets.push(this);
    }
    send() {}
    close() {
        this.readyState = 3;
    }
    opens() {
        this.readyState = 1;
        this.says({ type: 'welcome', protocol: 1, may: 'all', process: 'p' });
    }
    says(message) {
        this.onmessage({ data: JSON.stringify(message) });
    }
    dies() {
        this.readyState = 3;
        this.onclose();
    }
};
const { Mirror } = await import('../../src/views/web/page/mirror.js');

/** Time passes, and what is due runs. */
function pass(ms) {
    for (const end = now + ms; ; ) {
        const due = timers.filter(({ at }) => at <= end).toSorted((a, b) => a.at - b.at)[0];
        now = due?.at ?? end;
        if (!due) return;
        clearTimeout(due);
        due.does();
    }
}
/** Milliseconds until the next try. */
function nextTry(mostMs = 60_000) {
    const [from, count] = [now, sockets.length];
    while (sockets.length === count && now - from < mostMs) pass(10);
    return sockets.length === count ? undefined : now - from;
}
const near = (ms, wanted) => assert.ok(Math.abs(ms - wanted) <= 20, `${ms} in place of ${wanted}`);

let mirror;
beforeEach(() => {
    [now, timers, sockets, page.hidden, page.listeners] = [1000, [], [], false, []];
    const nothing = () => {};
    mirror = new Mirror({ open: nothing, closed: nothing, snapshot: nothing, changes: nothing, lines: nothing, released: nothing, refused: nothing });
    mirror.open();
});

test('pauses grow to 30 s, and begin anew after a socket that lived', () => {
    for (const wanted of [1000, 2000, 4000, 8000, 16000, 30000, 30000]) {
        sockets.at(-1).dies();
        near(nextTry(), wanted);
    }
    sockets.at(-1).opens();
    pass(31_000);
    sockets.at(-1).dies();
    near(nextTry(), 1000);
});

test('a socket that is welcomed and dies at once counts as a failed try', () => {
    for (const wanted of [1000, 2000, 4000]) {
        sockets.at(-1).opens();
        sockets.at(-1).dies();
        near(nextTry(), wanted);
    }
});

test('a try that gets no answer is given up after five seconds', () => {
    near(nextTry(), 5000 + 1000);
    sockets.at(-1).opens();
    assert.equal(nextTry(20_000), undefined, 'a socket that is open is left alone');
});

test('after its last client the driver is looked for in two seconds, once', () => {
    sockets.at(-1).opens();
    sockets.at(-1).says({ type: 'end', why: 'clients' });
    sockets.at(-1).dies();
    near(nextTry(), 2000);
    sockets.at(-1).dies();
    near(nextTry(), 1000);
    sockets.at(-1).dies();
    near(nextTry(), 2000);
});

test('what a person closed stays closed, also for a page that comes into sight', () => {
    sockets.at(-1).opens();
    sockets.at(-1).says({ type: 'end', why: 'person' });
    sockets.at(-1).dies();
    page.listeners.forEach((does) => does());
    assert.equal(nextTry(), undefined);
});

test('a page of another version waits for a person', () => {
    sockets.at(-1).readyState = 1;
    sockets.at(-1).says({ type: 'welcome', protocol: 2 });
    sockets.at(-1).dies();
    page.listeners.forEach((does) => does());
    assert.equal(nextTry(), undefined);
});

test('a hidden page never reconnects, and does so as soon as it is seen', () => {
    sockets.at(-1).opens();
    page.hidden = true;
    sockets.at(-1).dies();
    assert.equal(nextTry(), undefined);
    page.hidden = false;
    page.listeners.forEach((does) => does());
    assert.equal(sockets.length, 2);
});

test('a page that slept takes its silent socket for lost when it wakes', () => {
    sockets.at(-1).opens();
    page.hidden = true;
    pass(60_000);
    page.hidden = false;
    page.listeners.forEach((does) => does());
    assert.equal(sockets.length, 2);
});

test('a hold that the driver ended is told once, and only the one that is down', () => {
    const released = mock.fn();
    mirror.on.released = released;
    sockets.at(-1).opens();
    mirror.hold({ do: 'hold' });
    mirror.release();
    mirror.hold({ do: 'hold' });
    sockets.at(-1).says({ type: 'released', hold: 1 });
    assert.equal(released.mock.callCount(), 0);
    sockets.at(-1).says({ type: 'released', hold: 2 });
    assert.equal(released.mock.callCount(), 1);
});
