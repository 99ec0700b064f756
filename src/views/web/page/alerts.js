// What a person wants to hear of without looking: banner, sound and notification, each to be switched off.

import { kept } from './kept.js';

const kWays = { banner: 'Banner', sound: 'Sound', notification: 'Notification' };
const kBannerMs = 60000;
const kGone = new Set(['No link', 'Not connected']);
const kEnds = {
    Slewing: () => 'The slew has ended.',
    Parking: (now) => (now === 'Parked' ? 'The mount is parked.' : 'The park has ended; the mount is not parked.'),
};
/** A count that grows, and what it tells. */
const kCounts = { lblLowPowerCount: 'The mount reports low power.', lblServoFaultCount: 'The mount reports a servo fault.', lblMotorStallCount: 'A motor has stalled.' };

export class Alerts {
    constructor(switches, banners) {
        this.banners = banners;
        this.on = {};
        this.last = '';
        this.counts = {};
        for (const [way, word] of Object.entries(kWays)) {
            this.on[way] = (kept.get(`alert-${way}`) ?? (way === 'notification' ? 'off' : 'on')) === 'on';
            switches.append(this.switchOf(way, word));
        }
    }

    switchOf(way, word) {
        const label = document.createElement('label');
        const box = document.createElement('input');
        const text = document.createElement('span');
        label.className = 'check';
        box.type = 'checkbox';
        box.checked = this.on[way];
        text.textContent = word;
        box.addEventListener('change', async () => {
            if (way === 'notification' && box.checked) box.checked = (await globalThis.Notification?.requestPermission()) === 'granted';
            this.on[way] = box.checked;
            kept.set(`alert-${way}`, box.checked ? 'on' : 'off');
        });
        label.append(box, text);
        return label;
    }

    /** Compares what the driver shows with what it showed before. */
    look(sky, handBox) {
        const { last } = this;
        const now = sky.lblState ?? '';
        this.last = now;
        if (last && now !== last) {
            if (now === 'No link') this.tell('The mount does not answer.', true);
            else if (last === 'No link' && !kGone.has(now)) this.tell('The mount answers again.');
            else if (kEnds[last] && !kGone.has(now) && now !== 'Parking' && now !== 'Slewing') this.tell(kEnds[last](now));
        }
        const refused = sky.lblRefused ?? '';
        if (refused && this.refused !== undefined && refused !== this.refused) this.tell(`Refused: ${refused.replace(/^\d+ /, '')}`);
        this.refused = refused;
        for (const [name, words] of Object.entries(kCounts)) {
            const count = Number.parseInt(handBox.text(name), 10) || 0;
            if (count > (this.counts[name] ?? count)) this.tell(words, true);
            this.counts[name] = count;
        }
    }

    tell(words, grave = false) {
        if (this.on.banner) this.showBanner(words, grave);
        // Some browsers have no sound for a page, and some let it notify by other ways only.
        if (this.on.sound) attempt(() => beep(grave));
        if (this.on.notification && globalThis.Notification?.permission === 'granted') attempt(() => new Notification(document.title, { body: words }));
    }

    showBanner(words, grave) {
        const banner = document.createElement('div');
        const text = document.createElement('span');
        const close = document.createElement('button');
        banner.className = grave ? 'banner grave' : 'banner';
        text.textContent = `${new Date().toLocaleTimeString([], { hour12: false })}  ${words}`;
        close.type = 'button';
        close.textContent = 'Dismiss';
        close.addEventListener('click', () => banner.remove());
        banner.append(text, close);
        this.banners.append(banner);
        while (this.banners.childElementCount > 4) this.banners.firstChild.remove();
        if (!grave) setTimeout(() => banner.remove(), kBannerMs);
    }
}

function attempt(what) {
    try {
        what();
    } catch (error) {
        console.warn(error);
    }
}

let audio;

/** Two short tones, lower for what is grave. Browsers stay silent until a person has used the page. */
function beep(grave) {
    audio ??= new AudioContext();
    [0, 0.25].forEach((after) => {
        const tone = audio.createOscillator();
        const volume = audio.createGain();
        tone.frequency.value = grave ? 330 : 660;
        volume.gain.value = 0.15;
        tone.connect(volume).connect(audio.destination);
        tone.start(audio.currentTime + after);
        tone.stop(audio.currentTime + after + 0.15);
    });
}
