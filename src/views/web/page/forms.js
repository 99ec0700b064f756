// Ties the fragments of the windows to the windows of the driver, by the names of their controls.

import { makeList, makeTable } from './lists.js';
import { holdButton } from './hands.js';
import { LogText } from './log.js';

const plain = (caption) => caption.replace(/&(.)/g, '$1');

/** The page of a topic as a part of this one, with its theme. */
async function showHelp(node, page) {
    node.dataset.helpPage = page;
    const answer = page && (await fetch(`/page/help/${page}`).catch(() => undefined));
    const text = answer?.ok ? await answer.text() : '<p>This page of the help cannot be had now.</p>';
    if (node.dataset.helpPage !== page) return;
    node.replaceChildren(...new DOMParser().parseFromString(text, 'text/html').body.childNodes);
    node.scrollTop = 0;
}

/** One window: its element and its controls. */
export class Form {
    constructor(name, element, mirror, root = element) {
        this.name = name;
        this.element = element;
        this.root = root;
        this.mirror = mirror;
        this.controls = new Map();
        for (const node of element.querySelectorAll('[data-control]')) this.controls.set(node.dataset.control, { node });
    }

    fill(form) {
        this.opening = form.opening;
        this.set('caption', form.caption);
        for (const control of form.controls) {
            const bound = this.controls.get(control.name);
            if (!bound) continue;
            if (!bound.kind) this.bind(bound, control);
            this.opened(control, bound);
            for (const [member, value] of Object.entries(control)) this.change(control.name, member, value);
        }
    }

    set(member, value) {
        if (member !== 'caption') return;
        for (const title of this.element.querySelectorAll('[data-caption]')) title.textContent = value;
    }

    /** What is meant for this opening of the window is not meant for the next. */
    report(deed, members = {}) {
        return { do: deed, form: this.name, opening: this.opening, ...members };
    }

    act(control, deed, value) {
        const report = this.report(deed, { control: control.name });
        return this.mirror.act(value === undefined ? report : { ...report, value });
    }

    close() {
        return this.mirror.act(this.report('close'));
    }

    /** The second click of a double one would answer the next question, which nobody has read. */
    press(bound, event) {
        if (event.detail > 1 && bound.node.closest('dialog')) return;
        this.act(bound, 'click');
    }

    /** A text or a picture that does something is a button for the keyboard too. */
    pressText(bound, deed) {
        const { node } = bound;
        node.tabIndex = 0;
        node.setAttribute('role', 'button');
        node.classList.add('pressed');
        node.addEventListener(deed, () => this.act(bound, deed));
        node.addEventListener('keydown', (event) => {
            if (event.key !== 'Enter' && event.key !== ' ') return;
            event.preventDefault();
            if (!event.repeat) this.act(bound, deed);
        });
    }

    bind(bound, control) {
        const { node } = bound;
        bound.name = control.name;
        bound.kind = control.kind;
        switch (control.kind) {
            case 'Button':
                if (control.press === 'held') holdButton(node, this, control.name, this.mirror);
                else node.addEventListener('click', (event) => this.press(bound, event));
                break;
            case 'Menu':
                node.addEventListener('click', () => this.act(bound, 'click'));
                break;
            case 'Label':
            case 'PictureBox':
                if (control.acts) this.pressText(bound, control.acts);
                break;
            case 'TextBox':
                node.addEventListener('input', () => (bound.typing = true));
                node.addEventListener('change', async () => {
                    bound.typing = false;
                    await this.act(bound, 'change', node.value);
                    if (!bound.typing) node.value = bound.text;
                });
                // What is pasted is whole: its parts go where they belong at once.
                if ('pairs' in node.dataset) node.addEventListener('paste', () => setTimeout(() => node.dispatchEvent(new Event('change'))));
                // What was typed and taken back is no change, of which the browser tells before.
                node.addEventListener('blur', () => {
                    if (!bound.typing) return;
                    bound.typing = false;
                    node.value = bound.text;
                });
                break;
            case 'CheckBox':
                node.addEventListener('change', async () => {
                    await this.act(bound, 'change', node.checked);
                    node.checked = bound.checked;
                });
                break;
            case 'OptionButton':
                node.name = `${this.name}.${control.group}`;
                node.addEventListener('change', async () => {
                    await this.act(bound, 'change', true);
                    for (const other of this.controls.values()) if (other.kind === 'OptionButton') other.node.checked = other.checked;
                });
                break;
            case 'ComboBox':
                bound.list = makeList(node, (index) => this.act(bound, 'change', index));
                break;
            case 'ListView':
                bound.list = makeTable(node, (index) => this.act(bound, 'change', index), () => this.act(bound, 'dblclick'));
                break;
            case 'ScrollBar':
                node.addEventListener('change', async () => {
                    await this.act(bound, 'change', Number(node.value));
                    node.value = bound.value;
                });
                break;
        }
    }

    /** What was typed before a window closed is void, and each socket asks for its streams anew. */
    opened(control, bound) {
        if (!this.isOpen) bound.typing = false;
        if (bound.kind !== 'RichTextBox') return;
        if (bound.process !== this.mirror.process) {
            bound.log ??= new LogText(bound.node, this.element.querySelector('.logTools'));
            bound.log.clear();
            bound.next = 1;
            bound.process = this.mirror.process;
        }
        if (bound.socket === this.mirror.socket) return;
        bound.socket = this.mirror.socket;
        this.mirror.send({ do: 'lines', stream: `${this.name}.${control.name}`, from: bound.next });
    }

    /** A word of a check box stands beside it, and a field is hidden with its words. */
    around(node) {
        return node.closest('label') ?? (node.classList.contains('list') ? node.closest('.field') ?? node : node);
    }

    change(name, member, value) {
        const bound = this.controls.get(name);
        if (!bound?.kind) return;
        const { node, kind } = bound;
        bound[member] = value;
        switch (member) {
            case 'text':
                if (kind === 'TextBox') {
                    if (!bound.typing) node.value = value;
                } else if (kind === 'CheckBox' || kind === 'OptionButton') {
                    node.parentElement.querySelector('[data-text]').textContent = plain(value);
                } else if (kind === 'Frame') {
                    node.querySelector('[data-text]').textContent = plain(value);
                } else if ('helpPage' in node.dataset) {
                    showHelp(node, value);
                } else if (kind !== 'PictureBox') {
                    node.textContent = kind === 'Label' ? value.replace(/\r\n/g, '\n') : plain(value);
                }
                break;
            case 'checked':
                if (kind === 'Menu') node.setAttribute('aria-checked', value);
                else node.checked = value;
                break;
            case 'enabled':
                if (kind === 'Frame') node.classList.toggle('off', !value);
                else if (bound.list) bound.list.enable(value);
                else if ('disabled' in node) node.disabled = !value;
                break;
            case 'visible':
                this.around(node).hidden = !value;
                break;
            case 'look':
                node.dataset.look = value;
                break;
            case 'tip':
                if (value) node.dataset.tip = value;
                else delete node.dataset.tip;
                break;
            case 'items':
                bound.list.items(value);
                break;
            case 'index':
                bound.list.select(value);
                break;
            case 'minimum':
                node.min = value;
                break;
            case 'maximum':
                node.max = value;
                break;
            case 'value':
                node.value = value;
                break;
            case 'cell':
                node.dataset.cell = value;
                break;
        }
    }

    text(name) {
        return this.controls.get(name)?.text ?? '';
    }
}
