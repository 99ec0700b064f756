import { Alerts } from './alerts.js';
import { Chart, kJournal } from './chart.js';
import { Form } from './forms.js';
import { letGo, padByGamepad, padByKeys } from './hands.js';
import { Mirror } from './mirror.js';
import { OwnClient } from './own_client.js';
import { drawPier, drawSky, tellOtherTime, tellTimes } from './sky.js';
import { wearTheme } from './theme.js';

const kForms = ['frmHandBox', 'frmStatus', 'frmLogWindow', 'frmInitialSetup', 'frmInitMount', 'frmSetupFocuser', 'frmQuaySettings',
    'frmRcalSyncWarning', 'frmAskAbortSlew', 'frmAskUnpark', 'frmAskPark', 'frmAskSwapEWNS', 'frmAskCustomParkOK',
    'frmAskAndWarnParked', 'frmAskUserCloseDriver', 'frmPark1Warning', 'frmAskGotoRaDec', 'frmAskGtoAltAz', 'frmMessage', 'frmAskMessage', 'frmClients', 'frmHelp'];
const kPanels = new Set(['frmStatus', 'frmLogWindow']);
const kMoving = new Set(['Slewing', 'Parking', 'Moving']);
const kShapes = { Slewing: '▶', Parking: '▶', Moving: '▶', Parked: '■', Tracking: '●', Standing: '○', 'No link': '✕', 'Not connected': '–' };

const $ = (id) => document.getElementById(id);
const tip = $('tip');
const forms = new Map();
const sky = {};

/** The open dialogs, the newest last. */
const stack = [];

/** Under a modal dialog nothing else is seen or read out. */
const placeInSight = (usual) => stack.findLast((dialog) => dialog.matches(':modal'))?.querySelector('.noticesHere') ?? usual;

function notice(text) {
    const line = document.createElement('p');
    line.textContent = text;
    line.setAttribute('role', 'status');
    placeInSight($('notices')).append(line);
    setTimeout(() => line.remove(), 6000);
}

const mirror = new Mirror({
    open: ({ process, may }) => {
        document.body.classList.remove('dead');
        if (may === 'all') ownClient.meet(process);
    },
    closed: (why) => {
        letGo();
        document.body.classList.add('dead');
        document.body.dataset.live = 'no';
        if (why === 'person') for (const name of forms.keys()) closeForm(name);
        $('state').textContent = { person: 'Driver closed', version: 'Reload the page' }[why] ?? 'No driver';
        $('shape').textContent = '✕';
        if (why === 'person') offerStart();
    },
    snapshot: ({ forms: open }) => {
        const names = new Set(open.map((form) => form.name));
        for (const name of forms.keys()) if (!names.has(name)) closeForm(name);
        open.forEach(openForm);
        document.body.dataset.live = 'yes';
        chart.listen();
        openAsked();
    },
    changes: ({ changes }) => {
        for (const [name, control, member, value] of changes) change(name, control, member, value);
        if (changes.some(([name]) => name === 'frmSky')) drawAll(); // what belongs together comes together
        if (changes.some(([, control]) => control === 'lblClients')) ownClient.look();
    },
    lines: appendLines,
    released: letGo,
    refused: notice,
});

const ownClient = new OwnClient(notice);
const chart = new Chart($('chart'), mirror);
const alerts = new Alerts($('alerts').querySelector('.row'), $('banners'));

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
    const stands = bound.isOpen && bound.dialog?.open && bound.modal === form.modal;
    bound.isOpen = true;
    bound.modal = form.modal;
    if (!bound.dialog) bound.root.hidden = false;
    else if (!stands) bringUp(bound);
}

/** A window above a modal one can only be reached if it is modal too. */
function bringUp(bound) {
    if (bound.dialog.open) bound.dialog.close();
    unstack(bound.dialog);
    stack.push(bound.dialog);
    bound.modal || document.querySelector('dialog:modal') ? bound.dialog.showModal() : bound.dialog.show();
}

function unstack(dialog) {
    if (stack.includes(dialog)) stack.splice(stack.indexOf(dialog), 1);
}

function closeForm(name) {
    const bound = forms.get(name);
    if (!bound) return;
    bound.isOpen = false;
    if (bound.dialog) {
        unstack(bound.dialog);
        hideTip();
        bound.dialog.close();
    } else if (name !== 'frmHandBox') {
        bound.root.hidden = true;
    }
}

function change(name, control, member, value) {
    if (name === 'frmSky') {
        if (member === 'text') sky[control] = value;
    } else if (member === 'opened') {
        openForm(value);
    } else if (member === 'closed') {
        closeForm(name);
    } else if (control) {
        forms.get(name)?.change(control, member, value);
    } else {
        const bound = forms.get(name);
        bound?.set(member, value);
        if (bound?.dialog && bound.isOpen && (member === 'modal' || member === 'front')) {
            if (member === 'modal') bound.modal = value;
            bringUp(bound);
        }
    }
}

function appendLines({ stream, first, lines: added }) {
    if (stream === kJournal) return chart.append(first, added);
    const [name, control] = stream.split('.');
    const bound = forms.get(name)?.controls.get(control);
    if (!bound) return;
    bound.next = first + added.length;
    bound.log.append(added.map(([text]) => text.replace(/^\r\n/, '')));
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
    for (const place of document.querySelectorAll('[data-epoch]')) if (place.textContent !== sky.lblEpoch) place.textContent = sky.lblEpoch ?? '';
    tellOtherTime($('otherTime'), sky, forms.get('frmHandBox').text('lblLstHA'));
    alerts.look(sky, forms.get('frmHandBox'));
    ownClient.offer(sky.lblState === 'Not connected' && mirror.isOpen && mirror.may === 'all');
}

// --- stop

let stopShown;

function showStop(text, unheard = false) {
    for (const button of document.querySelectorAll('.stopButton')) {
        button.textContent = text;
        button.classList.toggle('unheard', unheard);
    }
}

async function stop() {
    letGo();
    clearTimeout(stopShown);
    showStop('STOP …');
    const heard = await mirror.stop();
    clearTimeout(stopShown);
    showStop(heard ? 'STOP HEARD' : 'NOT HEARD', !heard);
    stopShown = setTimeout(() => showStop('STOP'), 3000);
}

/** At the touch: a finger beside another one makes no click. */
function makeStop(button) {
    button.addEventListener('pointerdown', (event) => event.button === 0 && stop());
    button.addEventListener('click', (event) => event.detail === 0 && stop()); // by the keyboard
}

/** Without a dialog Escape closes the menu, or the panel that has the focus. */
function closeByKey(event) {
    const panel = event.target.closest?.('#panels .window');
    if (!$('menu').hidden) {
        toggleMenu(false);
        $('menuButton').focus();
    } else if (panel) {
        forms.get(panel.dataset.form).close();
    }
}

const moves = () => kMoving.has(sky.lblState);
const swallow = (event) => (event.preventDefault(), event.stopPropagation());
let stoppingKey = ''; // as long as it is down it is STOP, and nothing else once the mount stands
addEventListener(
    'keydown',
    (event) => {
        const types = event.target.closest?.('input[type=text]');
        if (event.key === stoppingKey && event.repeat) {
            swallow(event);
        } else if (moves() && (event.key === 'Escape' || (event.key === ' ' && !types))) {
            swallow(event);
            stoppingKey = event.key;
            if (!event.repeat) stop();
        } else if (event.key === 'Enter' && event.repeat && event.target.closest?.('button, [role=button]')) {
            swallow(event); // it was meant for what was there before
        } else if (event.key === 'Escape' && !stack.length) {
            closeByKey(event);
        }
    },
    true,
);
addEventListener(
    'keyup',
    (event) => {
        if (event.key !== stoppingKey) return;
        stoppingKey = '';
        swallow(event);
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
    mirror.act({ do: 'click', form: 'frmHandBox', opening: 0, control: path.includes('/focuser/') ? 'mPopFocuser' : 'mPopSetup' });
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
    makeStop(stopButton);
    const noticesHere = document.createElement('div');
    noticesHere.className = 'noticesHere';
    const ask = () => forms.get(name).close();
    close.addEventListener('click', ask);
    dialog.addEventListener('cancel', (event) => {
        event.preventDefault();
        ask();
    });
    dialog.addEventListener('keydown', (event) => event.key === 'Escape' && (event.preventDefault(), event.repeat || ask()));
    dialog.addEventListener('close', () => {
        const bound = forms.get(name);  // some browsers close a dialog whatever the page says
        if (bound.isOpen && mirror.isOpen && !dialog.open) ask();
    });
    const title = element.querySelector('h2');
    if (title) {
        title.id = `title-${name}`;
        dialog.setAttribute('aria-labelledby', title.id);
    }
    dialog.append(element, noticesHere, close, stopButton);
    $('dialogs').append(dialog);
    return dialog;
}

async function fragment(name) {
    for (;;) {
        const answer = await fetch(`/page/windows/${name}.html`).catch(() => undefined);
        if (answer?.ok) return answer.text();
        await new Promise((resolve) => setTimeout(resolve, 1000));
    }
}

async function makeForms() {
    const texts = await Promise.all(kForms.map((name) => fragment(name)));
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
            close.addEventListener('click', () => form.close());
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

makeStop($('stop'));
$('menuButton').addEventListener('click', () => toggleMenu());
$('menu').addEventListener('click', () => toggleMenu(false));
$('status').addEventListener('click', () => mirror.act({ do: 'icon', message: 'over' })); // as the pointer on the icon
$('full').addEventListener('click', async () => {
    if (document.fullscreenElement) return document.exitFullscreen();
    await document.documentElement.requestFullscreen();
    await navigator.keyboard?.lock?.(['Escape']); // where that can be had, it stops here too
});
function hideTip() {
    tip.hidden = true;
}

/** For the pointer and for the keyboard. */
function showTip({ target }) {
    const text = target.closest?.('[data-tip]')?.dataset.tip;
    if (!text) return hideTip();
    const place = placeInSight(document.body);
    if (tip.parentElement !== place) place.append(tip);
    tip.textContent = text;
    tip.hidden = false;
}

for (const event of ['pointerover', 'focusin']) document.addEventListener(event, showTip);
wearTheme();
await makeForms();
mirror.open();
