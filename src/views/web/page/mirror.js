// The socket to the driver: what the windows are, and what a person does. docs/mirror.md tells the protocol.

const kProtocol = 1;
const kAnswerMs = 1000;
const kAfterClientsMs = 2000;
const kFirstPauseMs = 1000;
const kLongestPauseMs = 30000;
const kGoodLifeMs = 30000; // a socket that lived so long was no failed try
const kConnectMs = 5000;
const kSilenceMs = 2000; // beats come four times a second

export class Mirror {
    /** `on` has the functions open, closed, snapshot, changes, lines, released, refused. */
    constructor(on) {
        this.on = on;
        this.beat = 0;
        this.lastId = 0;
        this.lastHold = 0;
        this.held = 0;
        this.waiting = new Map();
        this.pause = kFirstPauseMs;
        this.timer = undefined; // for the next try, or for the end of this one
        this.endedBy = '';
        this.may = 'all';
        this.process = '';
        this.heardAt = 0;
        setInterval(() => this.watch(), 500);
        document.addEventListener('visibilitychange', () => {
            this.watch();
            if (!this.socket) this.openAgain();
        });
    }

    /** A hidden page does not, and a page that a person or another version of the driver has ended waits for a person. */
    openAgain() {
        if (!document.hidden && this.endedBy !== 'person' && this.endedBy !== 'version') this.open();
    }

    open() {
        if (this.socket) return;
        clearTimeout(this.timer);
        const socket = new WebSocket(`${location.protocol === 'https:' ? 'wss' : 'ws'}://${location.host}/view`);
        this.socket = socket;
        this.heardAt = this.openedAt = performance.now();
        this.timer = setTimeout(() => this.isOpen || this.giveUp(socket), kConnectMs);
        socket.onmessage = (event) => {
            if (socket !== this.socket) return;
            this.heardAt = performance.now();
            this.take(JSON.parse(event.data));
        };
        socket.onclose = () => this.lost(socket);
    }

    /** A device that slept, or lost its network, keeps a dead socket for minutes; what it showed last is not the truth. */
    watch() {
        if (!this.isOpen || document.hidden || performance.now() - this.heardAt < kSilenceMs) return;
        this.giveUp(this.socket);
    }

    giveUp(socket) {
        this.lost(socket);
        socket.close();
    }

    get isOpen() {
        return this.socket?.readyState === WebSocket.OPEN;
    }

    lost(socket) {
        if (socket !== this.socket) return;
        this.socket = undefined;
        this.held = 0;
        for (const answer of [...this.waiting.values()]) answer(false, 'The driver is not there.');
        this.on.closed(this.endedBy);
        if (performance.now() - this.openedAt > kGoodLifeMs) this.pause = kFirstPauseMs;
        const pause = this.endedBy === 'clients' ? kAfterClientsMs : this.pause;
        if (this.endedBy === 'clients') this.endedBy = '';
        else this.pause = Math.min(this.pause * 2, kLongestPauseMs);
        clearTimeout(this.timer);
        this.timer = setTimeout(() => this.openAgain(), pause);
    }

    take(message) {
        switch (message.type) {
            case 'welcome':
                if (message.protocol !== kProtocol) {
                    this.on.refused('This page is older than the driver: reload it.');
                    this.endedBy = 'version';
                    this.socket.close();
                    return;
                }
                this.may = message.may;
                this.process = message.process;
                this.endedBy = '';
                this.on.open(message);
                break;
            case 'beat':
                this.beat = message.beat;
                this.send(this.held ? { do: 'beat', beat: this.beat, hold: this.held } : { do: 'beat', beat: this.beat });
                break;
            case 'heard':
                this.waiting.get(message.id)?.(true, '');
                break;
            case 'refused':
                this.waiting.get(message.id)?.(false, message.why);
                break;
            case 'released':
                if (message.hold !== this.held) break;
                this.held = 0;
                this.on.released();
                break;
            case 'end':
                this.endedBy = message.why;
                break;
            default:
                this.on[message.type]?.(message);
        }
    }

    send(report) {
        if (this.isOpen) this.socket.send(JSON.stringify(report));
    }

    /** Sends what a person did; the promise tells whether it was heard. */
    report(report) {
        return new Promise((resolve) => {
            const id = ++this.lastId;
            const answer = (heard, why) => {
                this.waiting.delete(id);
                resolve({ heard, why });
            };
            if (!this.isOpen) {
                answer(false, 'The driver is not there.');
                return;
            }
            this.waiting.set(id, answer);
            setTimeout(() => this.waiting.has(id) && report.do === 'stop' && answer(false, ''), kAnswerMs);
            this.send({ ...report, id, beat: this.beat });
        });
    }

    async act(report) {
        const { heard, why } = await this.report(report);
        if (!heard && why) this.on.refused(why);
        return heard;
    }

    async hold(report) {
        const hold = ++this.lastHold;
        this.held = hold;
        const heard = await this.act({ ...report, hold });
        if (!heard && this.held === hold) this.held = 0;
        return heard;
    }

    release() {
        if (!this.held) return;
        this.send({ do: 'release', hold: this.held });
        this.held = 0;
    }

    /** By the socket and as a request beside it: whichever comes first stops. Tells whether either was heard. */
    async stop() {
        this.release();
        const bySocket = this.report({ do: 'stop' }).then(({ heard }) => heard);
        const signal = AbortSignal.timeout(kAnswerMs);
        const byRequest = fetch('/view/stop', { method: 'PUT', signal }).then(({ ok }) => ok, () => false);
        return Promise.any([bySocket, byRequest].map(async (heard) => (await heard) || Promise.reject())).catch(() => false);
    }
}
