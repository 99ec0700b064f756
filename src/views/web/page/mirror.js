// The socket to the driver: what the windows are, and what a person does. docs/mirror.md tells the protocol.

const kProtocol = 1;
const kAnswerMs = 1000;
const kAfterClientsMs = 2000;
const kLongestPauseMs = 30000;
const kSilenceMs = 2000; // beats come four times a second

export class Mirror {
    /** `on` has the functions open, closed, snapshot, changes, lines, refused, ended. */
    constructor(on) {
        this.on = on;
        this.beat = 0;
        this.lastId = 0;
        this.lastHold = 0;
        this.held = 0;
        this.waiting = new Map();
        this.pause = 1000;
        this.endedBy = '';
        this.may = 'all';
        this.process = '';
        this.heardAt = 0;
        setInterval(() => this.watch(), 500);
        document.addEventListener('visibilitychange', () => {
            this.watch();
            if (!document.hidden && !this.socket && this.endedBy !== 'person') this.open();
        });
    }

    open() {
        if (this.socket) return;
        const socket = new WebSocket(`${location.protocol === 'https:' ? 'wss' : 'ws'}://${location.host}/view`);
        this.socket = socket;
        this.heardAt = performance.now();
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
        const { socket } = this;
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
        if (document.hidden || this.endedBy === 'person' || this.endedBy === 'version') return;
        const pause = this.endedBy === 'clients' ? kAfterClientsMs : this.pause;
        this.pause = Math.min(this.pause * 2, kLongestPauseMs);
        setTimeout(() => !document.hidden && this.open(), pause);
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
                this.pause = 1000;
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

    hold(form, control) {
        this.held = ++this.lastHold;
        return this.act({ do: 'hold', form, control, hold: this.held });
    }

    release() {
        if (!this.held) return;
        this.send({ do: 'release', hold: this.held });
        this.held = 0;
    }

    stop() {
        this.release();
        return this.report({ do: 'stop' });
    }
}
