// Buttons that act while they are held. Whatever takes the hand, the page or the eye away ends the hold.

let current; // the hold: its button, and the mirror that tells of it

/** Ends the hold, if there is one. */
export function letGo() {
    const hold = current;
    current = undefined;
    hold?.node.classList.remove('held');
    hold?.mirror.release();
}

for (const event of ['blur', 'pagehide']) addEventListener(event, letGo);
document.addEventListener('visibilitychange', () => document.hidden && letGo());
document.addEventListener('pointerdown', (event) => event.isPrimary || letGo(), true);

function begin(node, form, name, mirror) {
    letGo();
    if (node.disabled) return;
    const hold = { node, mirror };
    current = hold;
    node.classList.add('held');
    // A refusal that comes late means this hold, and not the one that is down by now.
    mirror.hold(form.report('hold', { control: name })).then((heard) => heard || current !== hold || letGo());
}

export function holdButton(node, form, name, mirror) {
    node.addEventListener('pointerdown', (event) => {
        if (!event.isPrimary || event.button !== 0) return;
        node.setPointerCapture(event.pointerId);
        begin(node, form, name, mirror);
    });
    // The button that was pressed before loses the focus to the one that is pressed now, which it must not let go of.
    const letGoOfThis = () => current?.node === node && letGo();
    for (const end of ['pointerup', 'pointercancel', 'lostpointercapture', 'blur']) node.addEventListener(end, letGoOfThis);
    node.addEventListener('contextmenu', (event) => event.preventDefault());
    node.addEventListener('keydown', (event) => {
        if (event.key === 'Enter' && !event.repeat) begin(node, form, name, mirror);
    });
    node.addEventListener('keyup', (event) => event.key === 'Enter' && letGoOfThis());
}

const kCells = { ArrowUp: 1, ArrowLeft: 3, ArrowRight: 5, ArrowDown: 7 };

/** The arrow keys are the pad, by the place of its buttons on the page. */
export function padByKeys(form, mirror) {
    let key = '';
    const mayUse = (target) => !target.closest?.('input, textarea, [role=combobox], [role=listbox], [role=menu], dialog, pre, summary');
    const buttonAt = (cell) => [...form.controls.values()].find(({ name, cell: place }) => name?.startsWith('btnMove(') && place === cell);
    addEventListener('keydown', (event) => {
        const cell = kCells[event.key];
        if (cell === undefined || event.altKey || event.ctrlKey || event.metaKey || !mayUse(event.target)) return;
        event.preventDefault();
        if (event.repeat) return;
        const bound = buttonAt(cell);
        if (bound) {
            key = event.key;
            begin(bound.node, form, bound.name, mirror);
        }
    });
    // With a key of the system beside it some systems tell of no release.
    const ends = (event) => event.key === key || event.key === 'Meta' || event.key === 'Alt' || event.key === 'Control';
    addEventListener('keyup', (event) => ends(event) && ((key = ''), letGo()));
    addEventListener('keydown', (event) => ['Meta', 'Alt', 'Control'].includes(event.key) && letGo());
}

/** Stick and pad of a gamepad are the pad, any of its other buttons stops. */
export function padByGamepad(form, mirror, stop) {
    let cell = -1;
    let stopped = false;
    const read = () => {
        const pad = navigator.getGamepads().find(Boolean);
        if (!pad) return;
        requestAnimationFrame(read);
        const pressed = (i) => pad.buttons[i]?.pressed ?? false;
        const x = (pressed(15) ? 1 : 0) - (pressed(14) ? 1 : 0) || (Math.abs(pad.axes[0]) > 0.6 ? Math.sign(pad.axes[0]) : 0);
        const y = (pressed(13) ? 1 : 0) - (pressed(12) ? 1 : 0) || (Math.abs(pad.axes[1]) > 0.6 ? Math.sign(pad.axes[1]) : 0);
        const stops = pad.buttons.some((button, i) => button.pressed && (i < 12 || i > 15));
        if (stops && !stopped) stop();
        stopped = stops;
        const now = x || y ? 4 + x + 3 * y : -1;
        if (now === cell) return;
        cell = now;
        letGo();
        const bound = [...form.controls.values()].find(({ name, cell: place }) => name?.startsWith('btnMove(') && place === cell);
        if (cell >= 0 && bound) begin(bound.node, form, bound.name, mirror);
    };
    addEventListener('gamepadconnected', read);
    addEventListener('gamepaddisconnected', letGo);
}
