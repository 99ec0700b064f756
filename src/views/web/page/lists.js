// Lists that are drawn by the page itself: the browser's own would be bright in the dark.

let open;

function close() {
    open?.();
    open = undefined;
}
document.addEventListener('pointerdown', (event) => {
    if (!event.target.closest('.list')) close();
});

/** To which of `count` entries a key goes from the one at `index`; -1 for other keys. */
function placeFor(key, index, count) {
    const to = { ArrowDown: index + 1, ArrowUp: index - 1, Home: 0, End: count - 1 }[key];
    return to === undefined || count === 0 ? -1 : Math.max(0, Math.min(count - 1, to));
}

/** As many entries as there are to be; those that stay are the same, so that a press of one is not lost on the way. */
function fit(node, count) {
    while (node.childElementCount > count) node.lastChild.remove();
    while (node.childElementCount < count) {
        const option = document.createElement('div');
        option.setAttribute('role', 'option');
        node.append(option);
    }
    return [...node.children];
}

const placeOf = (node, event) => [...node.children].indexOf(event.target.closest('[role=option]'));
const write = (node, text) => node.textContent === text || (node.textContent = text);

/** Opens to where there is more room: between the top of the window or dialog, and its STOP. */
function makeRoom(button, options) {
    const dialog = button.closest('dialog');
    const top = (dialog ?? document.querySelector('header')).getBoundingClientRect()[dialog ? 'top' : 'bottom'];
    const end = (dialog?.querySelector('.stopButton') ?? document.getElementById('stop')).getBoundingClientRect().top;
    const place = button.getBoundingClientRect();
    const [above, below] = [place.top - top, end - place.bottom];
    options.style.maxHeight = '';
    const wanted = options.getBoundingClientRect().height;
    const up = below < wanted && above > below;
    options.classList.toggle('up', up);
    options.style.maxHeight = `${Math.max(88, Math.min(wanted, (up ? above : below) - 4))}px`;
}

/** A list of which one entry is chosen. */
export function makeList(node, chosen) {
    const button = document.createElement('button');
    const options = document.createElement('div');
    button.type = 'button';
    button.setAttribute('role', 'combobox');
    button.setAttribute('aria-haspopup', 'listbox');
    button.setAttribute('aria-expanded', 'false');
    button.setAttribute('aria-label', node.dataset.label);
    options.id = `options-${crypto.getRandomValues(new Uint32Array(1))[0]}`;
    button.setAttribute('aria-controls', options.id);
    options.setAttribute('role', 'listbox');
    options.setAttribute('aria-label', node.dataset.label);
    options.hidden = true;
    node.replaceChildren(button, options);
    let texts = [];
    let index = -1;
    let marked = -1;

    const draw = () => {
        write(button, texts[index] ?? '–');
        fit(options, texts.length).forEach((option, i) => {
            option.setAttribute('aria-selected', i === index);
            option.id = `${options.id}-${i}`;
            write(option, texts[i]);
            option.classList.toggle('marked', i === marked);
        });
    };
    const mark = (i) => {
        marked = Math.max(0, Math.min(texts.length - 1, i));
        button.setAttribute('aria-activedescendant', `${options.id}-${marked}`);
        draw();
        options.children[marked]?.scrollIntoView({ block: 'nearest' });
    };
    const hide = () => {
        options.hidden = true;
        button.setAttribute('aria-expanded', 'false');
        button.removeAttribute('aria-activedescendant');
    };
    const show = () => {
        close();
        open = hide;
        options.hidden = false;
        button.setAttribute('aria-expanded', 'true');
        makeRoom(button, options);
        mark(index);
    };
    const choose = (i) => {
        hide();
        button.focus();
        if (i !== index) chosen(i);
    };
    options.addEventListener('click', (event) => placeOf(options, event) >= 0 && choose(placeOf(options, event)));
    button.addEventListener('click', () => (options.hidden ? show() : hide()));
    button.addEventListener('keydown', (event) => {
        const to = placeFor(event.key, marked, texts.length);
        if (to >= 0) {
            if (options.hidden) show();
            else mark(to);
        } else if (!options.hidden && (event.key === 'Enter' || event.key === ' ')) {
            choose(marked);
        } else if (!options.hidden && event.key === 'Escape') {
            hide();
        } else {
            return;
        }
        event.preventDefault();
        event.stopPropagation();
    });
    return {
        items: (list) => ((texts = list), draw()),
        select: (i) => ((index = i), draw()),
        enable: (on) => ((button.disabled = !on), on || hide()),
    };
}

/** A table of which one row is chosen; its columns are separated by tabs. */
export function makeTable(node, chosen, opened) {
    let rows = [];
    let index = -1;
    let enabled = true;
    node.setAttribute('role', 'listbox');
    node.setAttribute('aria-label', node.dataset.label);
    node.tabIndex = 0;
    const draw = () =>
        fit(node, rows.length).forEach((line, i) => {
            line.setAttribute('aria-selected', i === index);
            const cells = rows[i].split('\t');
            while (line.childElementCount > cells.length) line.lastChild.remove();
            while (line.childElementCount < cells.length) line.append(document.createElement('span'));
            cells.forEach((cell, column) => write(line.children[column], cell));
        });
    node.addEventListener('click', (event) => {
        const place = placeOf(node, event);
        if (enabled && place >= 0) chosen(place);
    });
    node.addEventListener('dblclick', (event) => enabled && placeOf(node, event) >= 0 && opened());
    node.addEventListener('keydown', (event) => {
        const to = placeFor(event.key, index, rows.length);
        if (to >= 0) chosen(to);
        else if (event.key === 'Enter' && index >= 0) opened();
        else return;
        event.preventDefault();
    });
    return {
        items: (list) => ((rows = list), draw()),
        select: (i) => ((index = i), draw()),
        enable: (on) => (enabled = on),
    };
}
