// The page as a client: it connects the mount by the address that other programs use, as long as its person wants. A browser
// that comes back takes up the same object, as long as the driver keeps it.

import { kept } from './kept.js';

const kMembers = '/api/v1/telescope/0/';
const kSignMs = 60000;
const kHighestNumber = 2 ** 31;

const anyNumber = () => 1 + (crypto.getRandomValues(new Uint32Array(1))[0] % (kHighestNumber - 1));

export class OwnClient {
    constructor(say) {
        this.say = say;
        this.number = Number(kept.get('client')) || anyNumber();
        kept.set('client', this.number);
        this.transaction = anyNumber(); // a number that was used before would get the answer of that time
        this.connected = false;
        this.works = false; // a request is under way that changes it
        this.bar = document.getElementById('offer');
        this.connectButton = document.getElementById('connect');
        this.disconnectButton = document.getElementById('disconnect');
        this.connectButton.addEventListener('click', () => this.connect());
        this.disconnectButton.addEventListener('click', () => this.disconnect());
        setInterval(() => this.connected && this.signOfLife(), kSignMs);
    }

    /** For a page that has found its driver: an object of an earlier page of this browser is taken up. */
    async meet(process) {
        this.process = process;
        await this.look();
    }

    offer(wanted) {
        this.bar.hidden = !wanted || this.connected;
    }

    async signOfLife() {
        await this.ask('GET', 'connected').catch(() => {});
        await this.look();
    }

    /** Other pages of this browser are the same client, and a person may have released it. What is under way tells itself. */
    async look() {
        if (this.works) return;
        if (kept.get('connectedTo') !== this.process) return this.show(false);
        const holds = await this.holds();
        if (!this.works) this.show(holds);
    }

    /** What the driver says; where it says nothing, as it was. */
    async holds() {
        const answer = await fetch(`/view/client?ClientID=${this.number}`).catch(() => undefined);
        return answer?.ok ? (await answer.json()).holds : this.connected;
    }

    /** The browser knows of it before the driver does: a page that goes meanwhile is taken up by the next. */
    connect() {
        return this.busy(this.connectButton, 'Connecting …', async () => {
            kept.set('connectedTo', this.process);
            try {
                await this.ask('PUT', 'connected', { Connected: 'true' });
            } catch (error) {
                this.say(`The mount could not be connected: ${error.message}`);
            }
            this.show(await this.holds());
        });
    }

    /** Each "false" of a client takes one connection off the link, also one of another program. */
    disconnect() {
        return this.busy(this.disconnectButton, 'Disconnecting …', async () => {
            this.show(await this.holds());
            if (!this.connected) return;
            try {
                await this.ask('PUT', 'connected', { Connected: 'false' });
                this.show(false);
            } catch (error) {
                this.say(`The mount could not be disconnected: ${error.message}`);
                this.show(await this.holds());
            }
        });
    }

    /** One request at a time. */
    async busy(button, words, work) {
        if (this.works) return;
        this.works = true;
        const usual = button.textContent;
        button.disabled = true;
        button.textContent = words;
        await work();
        button.disabled = false;
        button.textContent = usual;
        this.works = false;
    }

    show(connected) {
        this.connected = connected;
        this.disconnectButton.hidden = !connected;
        if (!connected && kept.get('connectedTo') === this.process) kept.set('connectedTo', '');
        if (connected) this.bar.hidden = true;
    }

    async ask(method, member, values = {}) {
        this.transaction = (this.transaction % kHighestNumber) + 1;
        const form = new URLSearchParams({ ...values, ClientID: this.number, ClientTransactionID: this.transaction });
        const answer = method === 'GET' ? await fetch(`${kMembers}${member}?${form}`) : await fetch(kMembers + member, { method, body: form });
        if (!answer.ok) throw new Error(await answer.text());
        const { ErrorNumber, ErrorMessage } = await answer.json();
        if (ErrorNumber) throw new Error(ErrorMessage);
    }
}
