// The log as a text that grows: it can be searched, held and saved.

import { saveAs } from './save.js';

const kMostLines = 2000;

export class LogText {
    /** `node` shows the lines; `tools` has the page's own controls beside it. */
    constructor(node, tools) {
        this.node = node;
        this.waiting = [];
        this.search = tools.querySelector('input');
        this.count = tools.querySelector('[data-count]');
        this.hold = tools.querySelector('[data-hold]');
        this.search.addEventListener('input', () => this.show());
        this.hold.addEventListener('click', () => this.toggleHold());
        tools.querySelector('[data-save]').addEventListener('click', () => this.save());
    }

    clear() {
        this.waiting = [];
        this.node.replaceChildren();
    }

    append(lines) {
        this.waiting.push(...lines);
        this.waiting.splice(0, this.waiting.length - kMostLines);
        if (!this.held) this.takeWaiting();
        else this.tellCount();
    }

    get held() {
        return this.hold.getAttribute('aria-pressed') === 'true';
    }

    toggleHold() {
        this.hold.setAttribute('aria-pressed', !this.held);
        if (!this.held) this.takeWaiting();
        this.tellCount();
    }

    takeWaiting() {
        const { node } = this;
        const follows = node.scrollTop + node.clientHeight >= node.scrollHeight - 40;
        for (const text of this.waiting) {
            const line = document.createElement('div');
            line.textContent = text;
            line.hidden = !this.finds(text);
            node.append(line);
        }
        this.waiting = [];
        while (node.childElementCount > kMostLines) node.firstChild.remove();
        if (follows) node.scrollTop = node.scrollHeight;
    }

    finds(text) {
        return text.toLowerCase().includes(this.search.value.trim().toLowerCase());
    }

    show() {
        for (const line of this.node.children) line.hidden = !this.finds(line.textContent);
        this.tellCount();
    }

    tellCount() {
        const found = this.search.value.trim() ? `${[...this.node.children].filter((line) => !line.hidden).length} lines found` : '';
        this.count.textContent = this.held ? `Held; ${this.waiting.length} new lines wait. ${found}` : found;
    }

    /** All of it, also what the search hides. */
    save() {
        const lines = [...this.node.children].map((line) => line.textContent).concat(this.waiting);
        saveAs(new Blob([lines.join('\r\n') + '\r\n'], { type: 'text/plain' }), 'mount-log', 'txt');
    }
}
