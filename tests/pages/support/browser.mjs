// Debian's Chromium, and what a test does on a page.

import { chromium } from 'playwright-core';
import { until } from './system.mjs';

export const kSizes = {
    phone: { width: 390, height: 844 },
    tablet: { width: 834, height: 1112 },
    desk: { width: 1440, height: 900 },
};
export const kThemes = ['dark', 'night', 'day'];

export function startBrowser() {
    return chromium.launch({ executablePath: '/usr/bin/chromium', args: ['--no-sandbox', '--force-color-profile=srgb'] });
}

/** What a page reports, each with the answer that it has got. */
function reportsOf(page) {
    const reports = [];
    page.on('websocket', (socket) => {
        socket.on('framesent', ({ payload }) => {
            const report = JSON.parse(payload);
            if (report.id) reports.push(report);
        });
        socket.on('framereceived', ({ payload }) => {
            const { type, id, why } = JSON.parse(payload);
            const report = id && reports.find((each) => each.id === id);
            if (report) report.answer = type === 'heard' ? 'heard' : why;
        });
    });
    return reports;
}

/** A page of the driver; it keeps its errors and its reports. */
export async function openPage(browser, system, { size = 'desk', theme = 'dark', path = '', touch = false } = {}) {
    const context = await browser.newContext({ viewport: kSizes[size], hasTouch: touch, permissions: ['clipboard-read', 'clipboard-write'] });
    await context.addInitScript((name) => localStorage.getItem('theme') ?? localStorage.setItem('theme', name), theme);
    const page = await context.newPage();
    page.errors = [];
    page.reports = reportsOf(page);
    page.on('pageerror', (error) => page.errors.push(error.message));
    page.on('console', (message) => message.type() === 'error' && page.errors.push(message.text()));
    await page.goto(system.page + path);
    await isLive(page);
    return page;
}

/** The page shows what the driver shows. */
export async function isLive(page) {
    await page.waitForFunction(() => document.body.dataset.live === 'yes', undefined, { timeout: 20_000 });
}

export const control = (page, form, name) => page.locator(`[data-form="${form}"] [data-control="${name}"], [data-form="${form}"][data-control="${name}"]`);
export const handBox = (page, name) => page.locator(`#handbox [data-control="${name}"], #menu [data-control="${name}"]`);
export const windowOf = (page, form) => page.locator(`[data-form="${form}"]`);

/** What stands on the page, in the words that a person reads. */
export const textOf = (page, selector) => page.locator(selector).innerText();
export const stateOf = (page) => textOf(page, '#state');
export const waitForState = (page, state) => until(async () => (await stateOf(page)) === state, `the page to say "${state}"`);

/** Opens every group, so that each control of the hand box can be reached. */
export async function unfold(page) {
    await page.evaluate(() => document.querySelectorAll('details').forEach((group) => (group.open = true)));
}

/** Chooses an entry of one of the page's own lists. */
export async function choose(list, entry) {
    await list.locator('[role=combobox]').click();
    await list.getByRole('option', { name: entry, exact: true }).click();
}

/** Red, green and blue of each pixel of a picture: the greatest value of each, from 0 to 255. */
export async function brightest(browser, png) {
    const page = await browser.newPage();
    try {
        return await page.evaluate(async (data) => {
            const image = await createImageBitmap(await (await fetch(`data:image/png;base64,${data}`)).blob());
            const canvas = new OffscreenCanvas(image.width, image.height);
            const context = canvas.getContext('2d');
            context.drawImage(image, 0, 0);
            const { data: pixels } = context.getImageData(0, 0, image.width, image.height);
            const most = { red: 0, green: 0, blue: 0 };
            for (let i = 0; i < pixels.length; i += 4) {
                most.red = Math.max(most.red, pixels[i]);
                most.green = Math.max(most.green, pixels[i + 1]);
                most.blue = Math.max(most.blue, pixels[i + 2]);
            }
            return most;
        }, png.toString('base64'));
    } finally {
        await page.close();
    }
}
