// Every window of the driver: how a person opens it, and closes it again.

import { choose, handBox, unfold, waitForState, windowOf } from './browser.mjs';
import { until } from './system.mjs';

const fromMenu = (name) => async (page) => {
    await page.locator('#menuButton').click();
    await handBox(page, name).click();
};
const fromHandBox = (name) => (page) => handBox(page, name).click();
const fromSetup = (name) => async (page) => {
    await fromMenu('mPopSetup')(page);
    await windowOf(page, 'frmInitialSetup').waitFor();
    await unfold(page);
    await windowOf(page, 'frmInitialSetup').locator(`[data-control="${name}"]`).click();
};

async function slewAndAsk(page, system) {
    const ra = await system.get('siderealtime');
    await system.put('slewtocoordinatesasync', { RightAscension: `${(ra + 21) % 24}`, Declination: '5' });
    await waitForState(page, 'Slewing');
    await until(async () => {
        if (/SLEWING/.test(await handBox(page, 'lblRA').innerText())) await handBox(page, 'lblRA').click({ timeout: 800 }).catch(() => {});
        return windowOf(page, 'frmAskAbortSlew').isVisible();
    }, 'the question about the slew');
}
async function stopSlew(page, system) {
    await system.put('abortslew');
    await waitForState(page, 'Tracking');
}

async function parkAndPress(page, system) {
    await system.put('park');
    await waitForState(page, 'Parked');
    await handBox(page, 'btnMove(1)').hover();
    await page.mouse.down();
    await windowOf(page, 'frmAskAndWarnParked').waitFor();
    await page.mouse.up();
}
async function unpark(page, system) {
    await system.put('unpark');
    await system.put('tracking', { Tracking: 'true' });
    await waitForState(page, 'Tracking');
}

async function untickRcal(page) {
    await handBox(page, 'chkUseRCAL').setChecked(true);
    await handBox(page, 'chkUseRCAL').click();
}

/** It goes after three seconds, which a busy machine may need for the way to the box that keeps it. */
async function openStatus(page) {
    for (let tries = 1; ; tries += 1) {
        await page.locator('#menuButton').click();
        await page.locator('#status').click();
        try {
            return await windowOf(page, 'frmStatus').locator('[data-control=chkKeepOn]').check({ timeout: 2500 });
        } catch (error) {
            if (tries === 4) throw error;
        }
    }
}

/** `open` and `after` get the page and the system; `under` is the window below, which is closed too. */
export const kWindows = [
    { form: '', open: async () => {} },
    { form: 'frmInitialSetup', open: fromMenu('mPopSetup') },
    { form: 'frmQuaySettings', open: fromSetup('btnQuaySettings'), under: 'frmInitialSetup' },
    { form: 'frmAskMessage', open: fromSetup('btnDeleteSite'), under: 'frmInitialSetup' },
    { form: 'frmSetupFocuser', open: fromMenu('mPopFocuser') },
    { form: 'frmStatus', open: openStatus },
    { form: 'frmLogWindow', open: fromMenu('mPopShowLogWindow') },
    { form: 'frmHelp', open: fromMenu('mPopHelp') },
    { form: 'frmMessage', open: fromMenu('mPopTimerUtility') },
    { form: 'frmAskUserCloseDriver', open: fromMenu('mPopExit') },
    { form: 'frmClients', open: fromHandBox('btnClients') },
    { form: 'frmAskGotoRaDec', open: fromHandBox('btnSlewRaDec') },
    { form: 'frmAskGtoAltAz', open: fromHandBox('btnSlewAltAz') },
    { form: 'frmInitMount', open: fromHandBox('btnInitNow') },
    { form: 'frmAskPark', open: fromHandBox('btnPark') },
    { form: 'frmAskUnpark', open: fromHandBox('btnUNPARK') },
    { form: 'frmAskCustomParkOK', open: fromHandBox('btnSetPark') },
    { form: 'frmAskSwapEWNS', open: fromHandBox('btnSwapEW') },
    { form: 'frmRcalSyncWarning', open: untickRcal },
    {
        form: 'frmPark1Warning',
        open: (page) => choose(handBox(page, 'cbxParkTo'), 'Park 1'),
        after: (page) => choose(handBox(page, 'cbxParkTo'), 'Current Position'),
    },
    { form: 'frmAskAbortSlew', open: slewAndAsk, after: stopSlew },
    { form: 'frmAskAndWarnParked', open: parkAndPress, after: unpark },
];

/** The dialog or the panel in which a window stands. */
export const frameOf = (page, form) => page.locator(`dialog:has(> [data-form="${form}"]), #panels > [data-form="${form}"]`);

export async function closeWindow(page, system, { form, under, after }) {
    for (const each of [form, under].filter(Boolean)) {
        await frameOf(page, each).locator('.close').click();
        await windowOf(page, each).waitFor({ state: 'hidden' });
    }
    await after?.(page, system);
}
