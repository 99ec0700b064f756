// The sky with the tube in it, and the pier: drawn from the numbers of frmSky.

const kSvg = 'http://www.w3.org/2000/svg';
const radians = (degrees) => (degrees * Math.PI) / 180;
const number = (text) => (text === undefined || text === '' ? undefined : Number(text));

function element(name, attributes, text) {
    const node = document.createElementNS(kSvg, name);
    for (const [key, value] of Object.entries(attributes)) node.setAttribute(key, value);
    if (text) node.textContent = text;
    return node;
}

/** The zenith is in the middle, the horizon at 90; north is up and east is left, as one sees the sky. */
function at(alt, az) {
    const radius = 90 - alt;
    return [-radius * Math.sin(radians(az)), -radius * Math.cos(radians(az))];
}

function svgOf(figure, label) {
    let svg = figure.querySelector('svg');
    if (!svg) {
        svg = element('svg', { viewBox: '-110 -110 220 220', role: 'img' });
        figure.prepend(svg);
    }
    svg.setAttribute('aria-label', label);
    return svg;
}

export function drawSky(figure, sky) {
    const alt = number(sky.lblAlt);
    const az = number(sky.lblAz);
    const latitude = number(sky.lblLatitude);
    const known = alt !== undefined && az !== undefined;
    const svg = svgOf(figure, known ? `The tube points to altitude ${alt.toFixed(1)}, azimuth ${az.toFixed(1)} degrees` : 'Where the tube points is not known');
    const parts = [];
    parts.push(element('circle', { r: 90, class: 'horizon' }));
    for (const circle of [30, 60]) parts.push(element('circle', { r: circle, class: 'grid' }));
    parts.push(element('line', { x1: 0, y1: -90, x2: 0, y2: 90, class: 'meridian' }));
    parts.push(element('line', { x1: -90, y1: 0, x2: 90, y2: 0, class: 'grid' }));
    for (const [text, x, y] of [['N', 0, -96], ['S', 0, 105], ['E', -101, 4], ['W', 101, 4]]) {
        parts.push(element('text', { x, y, 'text-anchor': 'middle', class: 'point' }, text));
    }
    if (latitude !== undefined) {
        const [x, y] = at(Math.abs(latitude), latitude < 0 ? 180 : 0);
        parts.push(element('path', { d: `M${x - 4} ${y}h8M${x} ${y - 4}v8`, class: 'pole' }));
    }
    const parkAlt = number(sky.lblParkAlt);
    if (parkAlt !== undefined) {
        const [x, y] = at(Math.max(parkAlt, 0), number(sky.lblParkAz));
        parts.push(element('rect', { x: x - 6, y: y - 6, width: 12, height: 12, rx: 2, class: 'place' }), element('text', { x, y: y + 4, 'text-anchor': 'middle', class: 'point' }, 'P'));
    }
    const sunAlt = number(sky.lblSunAlt);
    if (sunAlt > 0) {
        const [x, y] = at(sunAlt, number(sky.lblSunAz));
        const rays = [0, 45, 90, 135, 180, 225, 270, 315].map((turn) => `M${x + 6 * Math.cos(radians(turn))} ${y + 6 * Math.sin(radians(turn))}l${3 * Math.cos(radians(turn))} ${3 * Math.sin(radians(turn))}`);
        parts.push(element('circle', { cx: x, cy: y, r: 3.5, class: 'sun' }), element('path', { d: rays.join(''), class: 'sun' }));
    }
    const targetAlt = number(sky.lblTargetAlt);
    const targetAz = number(sky.lblTargetAz);
    if (known && targetAlt !== undefined && targetAz !== undefined) {
        const [fromX, fromY] = at(Math.max(alt, -10), az);
        const [x, y] = at(Math.max(targetAlt, -10), targetAz);
        parts.push(element('line', { x1: fromX, y1: fromY, x2: x, y2: y, class: 'way' }));
        parts.push(element('rect', { x: x - 5, y: y - 5, width: 10, height: 10, class: 'target' }));
    }
    if (known) {
        const [x, y] = at(Math.max(alt, -10), az);
        parts.push(element('circle', { cx: x, cy: y, r: 6, class: 'tube' }));
        parts.push(element('circle', { cx: x, cy: y, r: 1.5, class: 'dot' }));
    }
    svg.replaceChildren(...parts);
}

/** Seen from behind, against the pole: east is right in the north, and left in the south. */
export function drawPier(figure, sky) {
    const side = sky.lblPierSide;
    const weight = number(sky.lblCounterweight);
    const svg = svgOf(figure, side ? `The tube is ${side.toLowerCase()} of the pier, the counterweight ${weight > 0 ? 'up' : 'down'}` : 'The side of the pier is not known');
    const isSouth = number(sky.lblLatitude) < 0;
    const ends = isSouth ? ['E', 'W'] : ['W', 'E'];
    const parts = [element('path', { d: 'M-12 90v-60h24v60z', class: 'column' }), element('line', { x1: -60, y1: 90, x2: 60, y2: 90, class: 'horizon' })];
    ends.forEach((text, i) => parts.push(element('text', { x: i ? 74 : -74, y: 94, 'text-anchor': 'middle', class: 'point' }, text)));
    if (side && weight !== undefined) {
        const away = (side === 'East') === isSouth ? 1 : -1; // to which side the counterweight is
        const tilt = radians(weight);
        const x = away * Math.cos(tilt);
        const y = -Math.sin(tilt);
        parts.push(element('line', { x1: 58 * x, y1: 58 * y, x2: -52 * x, y2: -52 * y, class: 'shaft' }));
        parts.push(element('circle', { cx: 58 * x, cy: 58 * y, r: 12, class: weight > 0 ? 'weight up' : 'weight' }));
        const dec = number(sky.lblDec) ?? 0;
        const turn = 90 - dec;
        parts.push(element('rect', { x: -9, y: -32, width: 18, height: 64, rx: 3, class: 'tube', transform: `translate(${-60 * x} ${-60 * y}) rotate(${away * (turn > 90 ? 90 : turn) * 0.6})` }));
        parts.push(element('text', { x: 0, y: 105, 'text-anchor': 'middle', class: 'point' }, `Tube ${side.toLowerCase()}, weight ${weight > 0 ? 'UP' : 'down'}`));
    }
    svg.replaceChildren(...parts);
}

function time(minutes) {
    if (minutes === undefined) return '–';
    const whole = Math.round(minutes);
    return `${Math.floor(whole / 60)} h ${String(whole % 60).padStart(2, '0')} min`;
}

const two = (value) => String(value).padStart(2, '0');

function clock(hours, signed) {
    const tenths = Math.round(Math.abs(hours) * 36000);
    const text = `${two(Math.floor(tenths / 36000))}:${two(Math.floor(tenths / 600) % 60)}:${two(Math.floor(tenths / 10) % 60)}.${tenths % 10}`;
    return signed ? (hours < 0 ? '-' : '+') + text : text;
}

/** The hand box shows sidereal time or hour angle; this is the other one. */
export function tellOtherTime(place, sky, shownWord) {
    const [word, value] = place.children;
    const showsAngle = shownWord === 'HA';
    const hours = number(showsAngle ? sky.lblSiderealHours : sky.lblHourAngleHours);
    word.textContent = showsAngle ? 'LST' : 'HA';
    value.textContent = hours === undefined ? '' : clock(!showsAngle && hours > 12 ? hours - 24 : hours, !showsAngle);
}

export function tellTimes(list, sky) {
    const rows = [
        ['To the meridian', time(number(sky.lblMeridianMinutes))],
        ['To the horizon', time(number(sky.lblHorizonMinutes))],
    ];
    list.replaceChildren(
        ...rows.flatMap(([name, value]) => {
            const term = document.createElement('dt');
            const text = document.createElement('dd');
            term.textContent = name;
            text.textContent = value;
            return [term, text];
        }),
    );
}
