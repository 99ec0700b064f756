// What the browser keeps for the page. Some keep nothing, and say so by an exception: it holds until the page is closed then.

const here = new Map();

export const kept = {
    get(key) {
        try {
            return localStorage.getItem(key);
        } catch {
            return here.get(key) ?? null;
        }
    },
    set(key, value) {
        try {
            localStorage.setItem(key, value);
        } catch {
            here.set(key, String(value));
        }
    },
};
