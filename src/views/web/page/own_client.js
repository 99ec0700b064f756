// The page as a client: it connects the mount by the address that other programs use, as long as its person wants. A browser
// that comes back takes up the same object, as long as the driver keeps it.

import { kept } from './kept.js';

const kMembers = '/api/v1/telescope/0/';
const kSignMs = 60000;
const kHighestNumber = 2 ** 31;

export class OwnClient {
    constructor(say) {
        this.say = say;
        this.number = Number(kept.get('client')) || 1 + (crypto.getRandomValues(new Uint32Array(1))[0] % (kHighestNumber - 1));
        kept.set('client', this.number);
        this.connected = false;
        this.bar = document.getElementById('offer');
        this.connectButton = document.getElementById('connect');
        this.disconnectButton = document.getElementById('disconnect');
        this.connectButton.addEventListener('click', () => this.connect());
        this.disconnectButton.addEventListener('click', () => this.disconnect());
        setInterval(() => this.connected && this.look(), kSignMs);
    }

    /** For a page that has found its driver: an object of an earlier page of this browser is taken up. */
    async meet(process) {
        this.process = process;
        if (kept.get('connectedTo') === process) await this.look();
        else this.show(false);
    }

    offer(wanted) {
        this.bar.hidden = !wanted || this.connected;
    }

    async look() {
        const { value } = await this.ask('GET', 'connected').catch(() => ({ value: false }));
        this.show(value === true);
    }

    async connect() {
        this.connectButton.disabled = true;
        this.connectButton.textContent = 'Connecting …';
        try {
            await this.ask('PUT', 'connected', { Connected: 'true' });
            this.show(true);
        } catch (error) {
            this.say(`The mount could not be connected: ${error.message}`);
        }
        this.connectButton.disabled = false;
        this.connectButton.textContent = 'Connect';
    }

    async disconnect() {
        await this.ask('PUT', 'connected', { Connected: 'false' }).catch((error) => this.say(error.message));
        this.show(false);
    }

    show(connected) {
        this.connected = connected;
        this.disconnectButton.hidden = !connected;
        kept.set('connectedTo', connected ? this.process : '');
    }

    async ask(method, member, values = {}) {
        const form = new URLSearchParams({ ...values, ClientID: this.number, ClientTransactionID: 1 });
        const answer = method === 'GET' ? await fetch(`${kMembers}${member}?${form}`) : await fetch(kMembers + member, { method, body: form });
        if (!answer.ok) throw new Error(await answer.text());
        const { ErrorNumber, ErrorMessage, Value } = await answer.json();
        if (ErrorNumber) throw new Error(ErrorMessage);
        return { value: Value };
    }
}
