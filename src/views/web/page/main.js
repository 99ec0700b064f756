import { Form } from './forms.js';
import { letGo, padByGamepad, padByKeys } from './hands.js';
import { Mirror } from './mirror.js';
import { drawPier, drawSky, tellTimes } from './sky.js';
import { wearTheme } from './theme.js';

const kForms = ['frmHandBox', 'frmStatus', 'frmLogWindow', 'frmInitialSetup', 'frmInitMount', 'frmSetupFocuser', 'frmQuaySettings',
    'frmRcalSyncWarning', 'frmAskAbortSlew', 'frmAskUnpark', 'frmAskPark', 'frmAskSwapEWNS', 'frmAskCustomParkOK',
    'frmAskAndWarnParked', 'frmAskUserCloseDriver', 'frmPark1Warning', 'frmAskGotoRaDec', 'frmAskGtoAltAz', 'frmMessage', 'frmAskMessage', 'frmClients'];
const kPanels = new Set(['frmStatus', 'frmLogWindow']);
const kMoving = new Set(['Slewing', 'Parking', 'Moving']);
const kShapes = { Slewing: '▶', Parking: '▶', Moving: '▶', Parked: '■', Tracking: '●', Standing: '○', 'No link': '✕', 'Not connected': '–' };
const kMostLines = 2000;

const $ = (id) => document.getElementById(id);
const forms = new Map();
const sky = {};
const lines = new Map();

function notice(text) {
    const line = document.createElement('p');
    line.textContent = text;
    $('notices').append(line);
    setTimeout(() => line.remove(), 6000);
}

const mirror = new Mirror({
    open: () => document.body.classList.remove('dead'),
    closed: (why) => {
        letGo();
        document.body.classList.add('dead');
        document.body.dataset.live = 'no';
        $('state').textContent = why === 'person' ? 'Driver closed' : 'No driver';
        $('shape').textContent = '✕';
        if (why === 'person') offerStart();
    },
    snapshot: ({ forms: open }) => {
        const names = new Set(open.map((form) => form.name));
        for (const name of forms.keys()) if (!names.has(name)) closeForm(name);
        open.forEach(openForm);
        document.body.dataset.live = 'yes';
        openAsked();
    },
    changes: ({ changes }) => {
        for (const [name, control, member, value] of changes) change(name, control, member, value);
    },
    lines: appendLines,
    refused: notice,
});

// --- windows

function openForm(form) {
    if (form.name === 'frmSky') {
        for (const { name, text } of form.controls) sky[name] = text ?? '';
        drawAll();
        return;
    }
    const bound = forms.get(form.name);
    if (!bound) return;
    bound.fill(form);
    if (bound.dialog) {
        if (bound.dialog.open && bound.modal !== form.modal) bound.dialog.close();
        bound.modal = form.modal;
        if (!bound.dialog.open) form.modal ? bound.dialog.showModal() : bound.dialog.show();
    } else {
        bound.root.hidden = false;
    }
}

function closeForm(name) {
    const bound = forms.get(name);
    if (!bound) return;
    if (bound.dialog) bound.dialog.close();
    else if (name !== 'frmHandBox') bound.root.hidden = true;
}

function change(name, control, member, value) {
    if (name === 'frmSky') {
        if (member === 'text') sky[control] = value;
        drawAll();
    } else if (member === 'opened') {
        openForm(value);
    } else if (member === 'closed') {
        closeForm(name);
    } else if (control) {
        forms.get(name)?.change(control, member, value);
    } else {
        forms.get(name)?.set(member, value);
    }
}

function appendLines({ stream, first, lines: added }) {
    const [name, control] = stream.split('.');
    const bound = forms.get(name)?.controls.get(control);
    if (!bound) return;
    bound.next = first + added.length;
    const follows = bound.node.scrollTop + bound.node.clientHeight >= bound.node.scrollHeight - 40;
    for (const [text] of added) bound.node.append(document.createTextNode(text));
    while (bound.node.childNodes.length > kMostLines) bound.node.firstChild.remove();
    if (follows) bound.node.scrollTop = bound.node.scrollHeight;
}

function drawAll() {
    const state = sky.lblState || 'Not connected';
    if (mirror.isOpen) {
        if ($('state').textContent !== state) $('state').textContent = state;
        $('shape').textContent = kShapes[state] ?? '';
    }
    document.body.dataset.state = state;
    $('way').hidden = !sky.lblProgress;
    $('progress').value = Number(sky.lblProgress || 0);
    $('left').textContent = sky.lblDistance ? `${sky.lblDistance}° left` : '';
    drawSky($('dial'), sky);
    drawPier($('pier'), sky);
    tellTimes($('times'), sky);
}

// --- stop

async function stop() {
    letGo();
    for (const button of document.querySelectorAll('.stopButton')) button.textContent = 'STOP …';
    const { heard } = await mirror.stop();
    for (const button of document.querySelectorAll('.stopButton')) {
        button.textContent = heard ? 'STOP HEARD' : 'NOT HEARD';
        button.classList.toggle('unheard', !heard);
    }
    setTimeout(() => {
        for (const button of document.querySelectorAll('.stopButton')) {
            button.textContent = 'STOP';
            button.classList.remove('unheard');
        }
    }, 3000);
}

const moves = () => kMoving.has(sky.lblState);
addEventListener(
    'keydown',
    (event) => {
        const types = event.target.closest?.('input[type=text]');
        if (moves() && (event.key === 'Escape' || (event.key === ' ' && !types))) {
            event.preventDefault();
            event.stopPropagation();
            if (!event.repeat) stop();
        }
    },
    true,
);

// --- the page itself

function offerStart() {
    const start = document.createElement('button');
    start.type = 'button';
    start.textContent = 'Start';
    start.addEventListener('click', () => {
        start.remove();
        mirror.endedBy = '';
        mirror.open();
    });
    $('notices').append(start);
}

/** The setup has addresses of its own, by which other programs open it. */
function openAsked() {
    const path = location.pathname;
    if (!path.startsWith('/setup')) return;
    mirror.act({ do: 'click', form: 'frmHandBox', control: path.includes('/focuser/') ? 'mPopFocuser' : 'mPopSetup' });
    history.replaceState(null, '', '/');
}

function makeDialog(name, element) {
    const dialog = document.createElement('dialog');
    const close = document.createElement('button');
    const stopButton = document.createElement('button');
    close.type = stopButton.type = 'button';
    close.className = 'close';
    close.textContent = 'Close';
    stopButton.className = 'stopButton inDialog';
    stopButton.textContent = 'STOP';
    stopButton.addEventListener('click', stop);
    const ask = () => mirror.act({ do: 'close', form: name });
    close.addEventListener('click', ask);
    dialog.addEventListener('cancel', (event) => {
        event.preventDefault();
        ask();
    });
    dialog.addEventListener('keydown', (event) => event.key === 'Escape' && (event.preventDefault(), ask()));
    const title = element.querySelector('h2');
    if (title) {
        title.id = `title-${name}`;
        dialog.setAttribute('aria-labelledby', title.id);
    }
    dialog.append(element, close, stopButton);
    $('dialogs').append(dialog);
    return dialog;
}

async function makeForms() {
    const texts = await Promise.all(kForms.map(async (name) => (await fetch(`/page/windows/${name}.html`)).text()));
    kForms.forEach((name, i) => {
        const template = document.createElement('template');
        template.innerHTML = texts[i];
        const element = template.content.firstElementChild;
        const form = new Form(name, element, mirror);
        forms.set(name, form);
        if (name === 'frmHandBox') {
            $('menu').append(element.querySelector('[data-menu]'));
            $('handbox').append(element);
        } else if (kPanels.has(name)) {
            const close = document.createElement('button');
            close.type = 'button';
            close.className = 'close';
            close.textContent = 'Close';
            close.addEventListener('click', () => mirror.act({ do: 'close', form: name }));
            element.append(close);
            element.hidden = true;
            $('panels').append(element);
        } else {
            form.dialog = makeDialog(name, element);
        }
    });
    padByKeys(forms.get('frmHandBox'), mirror);
    padByGamepad(forms.get('frmHandBox'), mirror, stop);
}

function toggleMenu(show = $('menu').hidden) {
    $('menu').hidden = !show;
    $('menuButton').setAttribute('aria-expanded', show);
}

$('stop').addEventListener('click', stop);
$('menuButton').addEventListener('click', () => toggleMenu());
$('menu').addEventListener('click', () => toggleMenu(false));
$('full').addEventListener('click', () => (document.fullscreenElement ? document.exitFullscreen() : document.documentElement.requestFullscreen()));
document.addEventListener('pointerover', ({ target }) => {
    const tip = target.closest?.('[data-tip]')?.dataset.tip;
    $('tip').hidden = !tip;
    $('tip').textContent = tip ?? '';
});
wearTheme();
await makeForms();
mirror.open();
