// The journal of the night as a chart: the drift of RA and Dec in arc-seconds, and the guide pulses, on one time axis.

import { saveAs } from './save.js';

export const kJournal = 'frmSky.rtbJournal';
const kKept = 6 * 3600; // seconds
const kSpans = [60, 300, 900, 3600, 3 * 3600, kKept];
const kSpanNames = ['1 min', '5 min', '15 min', '1 h', '3 h', '6 h'];
const kTicks = [10, 20, 60, 120, 300, 600, 1200, 3600, 7200];
const kLabel = 70; // pixels that the time of a tick takes
const kGap = 5; // seconds without a position: what comes then is another run
const kPulseBand = 0.24; // of the height

const kArcSecondsPerHour = 15 * 3600;
const radians = (degrees) => (degrees * Math.PI) / 180;
const two = (value) => String(value).padStart(2, '0');
const secondsOfDay = (clock) => clock.split(':').reduce((sum, part) => sum * 60 + Number(part), 0);

/** The smallest of 1, 2, 5, 10, 20, ... that is not below `most`. */
function roundUp(most) {
    const power = 10 ** Math.floor(Math.log10(Math.max(most, 1)));
    return [1, 2, 5, 10].map((step) => step * power).find((step) => step >= most);
}

/** The first of `entries`, which are in the order of their times, that is not before `time`. */
function firstFrom(entries, time) {
    let low = 0;
    let high = entries.length;
    while (low < high) {
        const middle = (low + high) >> 1;
        if (entries[middle].time < time) low = middle + 1;
        else high = middle;
    }
    return low;
}

/** How far the values lie from their mean. */
function rootMeanSquare(values) {
    if (!values.length) return undefined;
    const mean = values.reduce((sum, value) => sum + value, 0) / values.length;
    return Math.sqrt(values.reduce((sum, value) => sum + (value - mean) ** 2, 0) / values.length);
}

export class Chart {
    constructor(root, mirror) {
        this.root = root;
        this.mirror = mirror;
        this.canvas = root.querySelector('canvas');
        this.words = root.querySelector('[data-rms]');
        this.spanName = root.querySelector('[data-span]');
        this.zoom = 1;
        this.clear();
        const on = (name, does) => root.querySelector(`[data-${name}]`).addEventListener('click', does);
        on('in', () => this.zoomBy(-1));
        on('out', () => this.zoomBy(1));
        on('earlier', () => this.moveBy(-this.span / 2));
        on('later', () => this.moveBy(this.span / 2));
        on('live', () => this.moveBy(Infinity));
        on('csv', () => saveAs(new Blob([this.csv()], { type: 'text/csv' }), 'mount-journal', 'csv'));
        on('png', () => this.canvas.toBlob((picture) => saveAs(picture, 'mount-journal', 'png')));
        root.addEventListener('toggle', () => this.listen());
        this.canvas.addEventListener('wheel', (event) => (event.preventDefault(), this.zoomBy(Math.sign(event.deltaY))), { passive: false });
        this.canvas.addEventListener('pointermove', (event) => event.buttons & 1 && this.moveBy((-event.movementX * this.span) / this.canvas.clientWidth));
        new ResizeObserver(() => this.drawSoon()).observe(this.canvas);
        new MutationObserver(() => this.drawSoon()).observe(document.documentElement, { attributeFilter: ['data-theme'] });
    }

    clear() {
        this.positions = [];
        this.pulses = [];
        this.next = 1;
        this.run = 0;
        this.end = undefined; // the time at the right edge; none: the newest
    }

    get span() {
        return kSpans[this.zoom];
    }

    get newest() {
        return this.positions.at(-1)?.time ?? 0;
    }

    /** A chart that nobody looks at costs nothing. */
    listen() {
        const { mirror } = this;
        if (!this.root.open || !mirror.isOpen || this.socket === mirror.socket) return;
        if (this.process !== mirror.process) this.clear();
        this.process = mirror.process;
        this.socket = mirror.socket;
        mirror.send({ do: 'lines', stream: kJournal, from: this.next });
        this.drawSoon();
    }

    append(first, lines) {
        this.next = first + lines.length;
        for (const [text] of lines) this.take(text.split(' '));
        this.positions.splice(0, firstFrom(this.positions, this.newest - kKept));
        this.pulses.splice(0, firstFrom(this.pulses, this.newest - kKept));
        this.drawSoon();
    }

    take([seconds, date, clock, kind, ...values]) {
        const time = Number(seconds);
        if (kind === 'G') {
            this.pulses.push({ time, date, clock, direction: values[0], duration: Number(values[1]) });
            return;
        }
        const last = this.positions.at(-1);
        const position = { time, date, clock, ra: Number(values[0]), dec: Number(values[1]), tracks: values[2] === 'T' };
        if (!last?.tracks || !position.tracks || time - last.time > kGap) {
            this.run += 1;
            this.zero = position;
        }
        position.run = this.run;
        const turn = position.ra - this.zero.ra;
        const hours = turn > 12 ? turn - 24 : turn < -12 ? turn + 24 : turn;
        position.raDrift = hours * kArcSecondsPerHour * Math.cos(radians(this.zero.dec));
        position.decDrift = (position.dec - this.zero.dec) * 3600;
        this.positions.push(position);
    }

    zoomBy(steps) {
        this.zoom = Math.min(Math.max(this.zoom + steps, 0), kSpans.length - 1);
        this.drawSoon();
    }

    moveBy(seconds) {
        const end = (this.end ?? this.newest) + seconds;
        this.end = end >= this.newest ? undefined : Math.max(end, this.newest - kKept + this.span);
        this.drawSoon();
    }

    drawSoon() {
        if (this.waits || !this.root.open) return;
        this.waits = requestAnimationFrame(() => {
            this.waits = 0;
            this.draw();
        });
    }

    /** What is shown now; the last run is the one that is measured. */
    shown() {
        const end = this.end ?? this.newest;
        const start = end - this.span;
        const of = (entries) => entries.slice(firstFrom(entries, start), firstFrom(entries, end + 0.001));
        const positions = of(this.positions).filter((position) => position.tracks);
        const measured = positions.filter((position) => position.run === positions.at(-1)?.run);
        return { start, end, positions, measured, pulses: of(this.pulses) };
    }

    draw() {
        const shown = this.shown();
        this.tell(shown);
        const width = this.canvas.clientWidth;
        const height = this.canvas.clientHeight;
        const scale = window.devicePixelRatio || 1;
        this.canvas.width = Math.round(width * scale);
        this.canvas.height = Math.round(height * scale);
        const pen = this.canvas.getContext('2d');
        pen.scale(scale, scale);
        pen.font = `12px ${getComputedStyle(document.body).fontFamily}`;
        const style = getComputedStyle(document.documentElement);
        const colour = (name) => style.getPropertyValue(`--${name}`).trim();
        const box = { left: 46, right: width - 8, top: 26, bottom: (height - 24) * (1 - kPulseBand) };
        const most = roundUp(Math.max(...shown.positions.map((each) => Math.max(Math.abs(each.raDrift), Math.abs(each.decDrift))), 1));
        const x = (time) => box.left + ((time - shown.start) / this.span) * (box.right - box.left);
        const y = (drift) => (box.top + box.bottom) / 2 - (drift / most) * ((box.bottom - box.top) / 2);
        pen.fillStyle = colour('back');
        pen.fillRect(0, 0, width, height);
        this.drawGrid(pen, colour, { box, most, x, y, height, shown });
        this.drawDrift(pen, shown.positions, 'raDrift', x, y, colour('text'), []);
        this.drawDrift(pen, shown.positions, 'decDrift', x, y, colour('accent'), [6, 4]);
        this.drawPulses(pen, shown.pulses, x, { ...box, top: box.bottom + 10, bottom: height - 26 }, colour);
        this.drawLegend(pen, colour, box);
    }

    drawGrid(pen, colour, { box, most, x, y, height, shown }) {
        pen.strokeStyle = colour('edge');
        pen.fillStyle = colour('quiet');
        pen.lineWidth = 1;
        pen.textBaseline = 'middle';
        pen.textAlign = 'right';
        for (const part of [-1, -0.5, 0, 0.5, 1]) {
            const level = y(part * most);
            this.line(pen, box.left, level, box.right, level);
            pen.fillText(`${Number((part * most).toPrecision(3))}″`, box.left - 6, level);
        }
        const last = this.positions.at(-1);
        if (!last) return;
        const step = kTicks.find((each) => (each / this.span) * (box.right - box.left) >= kLabel) ?? kTicks.at(-1);
        const now = secondsOfDay(last.clock) - (last.time - shown.end);
        pen.textAlign = 'center';
        for (let tick = Math.ceil((now - this.span) / step) * step; tick <= now; tick += step) {
            const at = x(shown.end - (now - tick));
            this.line(pen, at, box.top, at, height - 24);
            const day = ((tick % 86400) + 86400) % 86400;
            const text = `${two(Math.floor(day / 3600))}:${two(Math.floor(day / 60) % 60)}${step < 60 ? `:${two(day % 60)}` : ''}`;
            if (at > box.left + 10 && at < box.right - 22) pen.fillText(text, at, height - 10);
        }
    }

    line(pen, fromX, fromY, toX, toY) {
        pen.beginPath();
        pen.moveTo(fromX, fromY);
        pen.lineTo(toX, toY);
        pen.stroke();
    }

    drawDrift(pen, positions, member, x, y, colour, dashes) {
        pen.strokeStyle = colour;
        pen.lineWidth = 2;
        pen.setLineDash(dashes);
        pen.beginPath();
        let run;
        for (const position of positions) {
            if (position.run === run) pen.lineTo(x(position.time), y(position[member]));
            else pen.moveTo(x(position.time), y(position[member]));
            run = position.run;
        }
        pen.stroke();
        pen.setLineDash([]);
    }

    /** RA is filled and goes up for east; Dec is an outline and goes up for north. */
    drawPulses(pen, pulses, x, { left, right, top, bottom }, colour) {
        const middle = (top + bottom) / 2;
        const longest = Math.max(...pulses.map(({ duration }) => duration), 1);
        pen.strokeStyle = colour('edge');
        pen.lineWidth = 1;
        this.line(pen, left, middle, right, middle);
        pen.lineWidth = 1.5;
        for (const { time, direction, duration } of pulses) {
            const tall = Math.max((duration / longest) * ((bottom - top) / 2), 2);
            const up = direction === 'E' || direction === 'N';
            const bar = [x(time) - 1.5, up ? middle - tall : middle, 4, tall];
            if (direction === 'E' || direction === 'W') {
                pen.fillStyle = colour('text');
                pen.fillRect(...bar);
            } else {
                pen.strokeStyle = colour('accent');
                pen.strokeRect(...bar);
            }
        }
    }

    drawLegend(pen, colour, box) {
        pen.textAlign = 'left';
        pen.textBaseline = 'middle';
        pen.lineWidth = 2;
        for (const [at, text, ink, dashes] of [
            [box.left, 'RA, east up', 'text', []],
            [box.left + 130, 'Dec, north up', 'accent', [6, 4]],
        ]) {
            pen.strokeStyle = colour(ink);
            pen.setLineDash(dashes);
            this.line(pen, at, 12, at + 24, 12);
            pen.setLineDash([]);
            pen.fillStyle = colour('text');
            pen.fillText(text, at + 30, 12);
        }
    }

    tell({ measured, pulses }) {
        const name = kSpanNames[this.zoom];
        this.spanName.textContent = this.end === undefined ? name : `${name}, earlier`;
        const of = (member) => rootMeanSquare(measured.map((position) => position[member]));
        const [ra, dec] = [of('raDrift'), of('decDrift')];
        const text = ra === undefined ? 'The mount does not track.' : `RMS: RA ${ra.toFixed(2)}″, Dec ${dec.toFixed(2)}″. Pulses: ${pulses.length}.`;
        if (this.words.textContent === text) return;
        this.words.textContent = text;
        this.canvas.setAttribute('aria-label', `Drift and guide pulses of the last ${name}. ${text}`);
    }

    /** All that is kept, whatever is shown. */
    csv() {
        const rows = [...this.positions, ...this.pulses].sort((one, other) => one.time - other.time);
        const fields = (row) =>
            row.direction
                ? [row.time, row.date, row.clock, 'pulse', '', '', '', '', '', row.direction, row.duration]
                : [row.time, row.date, row.clock, 'position', row.ra, row.dec, row.tracks ? 1 : 0, ...(row.tracks ? [row.raDrift.toFixed(2), row.decDrift.toFixed(2)] : ['', '']), '', ''];
        const head = 'seconds,date,time,kind,ra_hours,dec_degrees,tracks,ra_drift_arcsec,dec_drift_arcsec,direction,pulse_ms';
        return [head, ...rows.map((row) => fields(row).join(','))].join('\r\n') + '\r\n';
    }
}
