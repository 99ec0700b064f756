// Day, dark and night; what was chosen is kept in the browser.

import { kept } from './kept.js';

const kThemes = ['dark', 'night', 'day'];
const kBars = { dark: '#101418', night: '#000000', day: '#f4f5f7' };

export function wearTheme() {
    const root = document.documentElement;
    const button = document.getElementById('theme');
    const slider = document.getElementById('brightness');
    const wear = (theme) => {
        root.dataset.theme = theme;
        button.textContent = { dark: 'Dark', night: 'Night', day: 'Day' }[theme];
        document.getElementById('bright').hidden = theme !== 'night';
        document.querySelector('meta[name=theme-color]').content = kBars[theme];
        root.style.setProperty('--brightness', theme === 'night' ? slider.value / 100 : 1);
        kept.set('theme', theme);
    };
    slider.value = kept.get('brightness') ?? 100;
    slider.addEventListener('input', () => {
        kept.set('brightness', slider.value);
        wear('night');
    });
    button.addEventListener('click', () => wear(kThemes[(kThemes.indexOf(root.dataset.theme) + 1) % kThemes.length]));
    wear(kThemes.includes(kept.get('theme')) ? kept.get('theme') : 'dark');
}
