// The whole system as a user runs it, in a folder of its own: a simulated mount on COM1, the activator at a free port,
// and the driver that a page or a program starts by them.

import { spawn } from 'node:child_process';
import { mkdtemp, mkdir, readdir, readFile, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

const kPrograms = process.env.KESTRANE_PROGRAMS;
const kPatienceMs = 20_000;

export const pause = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

/** Waits until `what` is true, or throws; `what` may be asynchronous. */
export async function until(what, say, limitMs = kPatienceMs) {
    const end = Date.now() + limitMs;
    for (;;) {
        if (await what()) return;
        if (Date.now() > end) throw new Error(`in vain for ${limitMs} ms: ${say}`);
        await pause(50);
    }
}

/** A program that says one line as soon as it serves. */
class Program {
    constructor(name, args, env) {
        this.name = name;
        this.output = '';
        this.process = spawn(join(kPrograms, name), args, { env, stdio: ['ignore', 'pipe', 'pipe'] });
        this.process.stdout.on('data', (data) => (this.output += data));
        this.process.stderr.on('data', (data) => (this.output += data));
        this.ended = new Promise((resolve) => this.process.once('exit', resolve));
    }
    async line(wanted) {
        await until(() => wanted.test(this.output), `${this.name} to say ${wanted}: ${this.output}`);
        return wanted.exec(this.output)[1];
    }
    async end(signal = 'SIGTERM') {
        if (this.process.exitCode === null) this.process.kill(signal);
        await this.ended;
    }
}

export class System {
    static async start({ settings = {}, mount = [], activator = [], env = {} } = {}) {
        const system = new System();
        system.folder = await mkdtemp(join(tmpdir(), 'kestrane-page-'));
        const data = join(system.folder, 'Kestrane');
        await mkdir(join(data, 'Ports'), { recursive: true });
        await mkdir(join(data, 'ASCOM'));
        const lines = Object.entries({ Port: 'COM1', Timeout: '5000', chkAutoCalibrateOnFirstSlew: '0', ...settings });
        await writeFile(join(data, 'ASCOM', 'ks.ini'), `[default]\n${lines.map((line) => line.join('=')).join('\n')}\n`);
        const folders = ['KESTRANE_COMMON_APPDATA', 'KESTRANE_USER_CONFIG', 'KESTRANE_DOCUMENTS', 'XDG_RUNTIME_DIR'];
        system.env = { ...process.env, ...env, ...Object.fromEntries(folders.map((name) => [name, system.folder])) };
        const link = ['--link', join(data, 'Ports', 'COM1')];
        system.mount = new Program('kestrane-mount-simulator', ['--unparked', ...mount, ...link], system.env);
        await system.mount.line(/(\S+)/);
        await system.activate(0, activator);
        return system;
    }

    async activate(port, options = []) {
        this.options = options;
        this.activator = new Program('kestrane-activate', ['--port', `${port}`, '--discovery-port', '0', ...options], this.env);
        const address = await this.activator.line(/Alpaca: (\S+)/);
        this.port = Number(new URL(address).port);
        this.page = `http://localhost:${this.port}/`;
    }

    async end() {
        await this.activator.end();
        await this.mount.end();
        await rm(this.folder, { recursive: true, force: true });
    }

    /** Ends the activator, and the driver with it, as a person does who switches the machine off. */
    async endDriver(signal = 'SIGTERM') {
        await this.activator.end(signal);
    }
    async startAgain() {
        await this.activate(this.port, this.options);
    }

    /** A client's request; the value of its answer, or the error as a thrown text. */
    async client(verb, member, values = {}, number = 1) {
        const form = new URLSearchParams({ ...values, ClientID: number, ClientTransactionID: 1 });
        const url = `http://localhost:${this.port}/api/v1/telescope/0/${member}`;
        const answer = verb === 'get' ? await fetch(`${url}?${form}`) : await fetch(url, { method: 'PUT', body: form });
        const body = await answer.json();
        if (body.ErrorNumber) throw new Error(`${member}: ${body.ErrorMessage}`);
        return body.Value;
    }
    get(member) {
        return this.client('get', member);
    }
    put(member, values) {
        return this.client('put', member, values);
    }
    connect() {
        return this.put('connected', { Connected: true });
    }
    disconnect() {
        return this.put('connected', { Connected: false });
    }

    async log() {
        const folder = join(this.folder, 'Kestrane', 'ASCOM', 'Logs');
        const names = await readdir(folder).catch(() => []);
        return (await Promise.all(names.map((name) => readFile(join(folder, name), 'utf8')))).join('');
    }
}
