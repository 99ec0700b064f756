// Day, dark and night; what was chosen is kept in the browser.

const kThemes = ['dark', 'night', 'day'];
const kBars = { dark: '#101418', night: '#000000', day: '#f4f5f7' };

/** Some browsers keep nothing for a page, and say so by an exception. */
const kept = {
    getItem(key) {
        try {
            return localStorage.getItem(key);
        } catch {
            return null;
        }
    },
    setItem(key, value) {
        try {
            localStorage.setItem(key, value);
        } catch {
            // it holds until the page is closed
        }
    },
};

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
        kept.setItem('theme', theme);
    };
    slider.value = kept.getItem('brightness') ?? 100;
    slider.addEventListener('input', () => {
        kept.setItem('brightness', slider.value);
        wear('night');
    });
    button.addEventListener('click', () => wear(kThemes[(kThemes.indexOf(root.dataset.theme) + 1) % kThemes.length]));
    wear(kThemes.includes(kept.getItem('theme')) ? kept.getItem('theme') : 'dark');
}
