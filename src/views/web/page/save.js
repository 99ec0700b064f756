/** Gives a file to the browser's downloads, under a name with the time of day. */
export function saveAs(content, name, ending) {
    const link = document.createElement('a');
    link.href = URL.createObjectURL(content);
    link.download = `${name}-${new Date().toISOString().slice(0, 19).replaceAll(':', '-')}.${ending}`;
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 10000);
}
