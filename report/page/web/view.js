// SPDX-License-Identifier: Apache-2.0
// What part of the plan is in sight: a middle in millimetres and a scale in pixels for a millimetre. North is up.

// A building of a kilometre on a phone, and a millimetre as wide as a thumb.
const MIN_SCALE = 1e-5;
const MAX_SCALE = 20;
const FLIGHT_MILLISECONDS = 420;

class View {
    constructor() {
        this.x = 0;
        this.y = 0;
        this.scale = 0.02;
        this.width = 1;
        this.height = 1;
        this.flight = null;
    }
    screenX(x) {
        return (x - this.x) * this.scale + this.width / 2;
    }
    screenY(y) {
        return this.height / 2 - (y - this.y) * this.scale;
    }
    worldX(pixel) {
        return (pixel - this.width / 2) / this.scale + this.x;
    }
    worldY(pixel) {
        return (this.height / 2 - pixel) / this.scale + this.y;
    }
    moveBy(pixelsX, pixelsY) {
        this.flight = null;
        this.x -= pixelsX / this.scale;
        this.y += pixelsY / this.scale;
    }
    // What lies under the pixel stays there.
    zoomAt(pixelX, pixelY, factor) {
        this.flight = null;
        const x = this.worldX(pixelX);
        const y = this.worldY(pixelY);
        this.scale = Math.min(MAX_SCALE, Math.max(MIN_SCALE, this.scale * factor));
        this.x = x - (pixelX - this.width / 2) / this.scale;
        this.y = y + (pixelY - this.height / 2) / this.scale;
    }
    scaleFor(box, margin) {
        const width = Math.max(1, this.width - 2 * margin);
        const height = Math.max(1, this.height - 2 * margin);
        const scale = Math.min(width / Math.max(1, box.highX - box.lowX), height / Math.max(1, box.highY - box.lowY));
        return Math.min(MAX_SCALE, Math.max(MIN_SCALE, scale));
    }
    // Goes there at once when the reader wants no motion.
    flyTo(box, margin, maxScale) {
        const to = { x: (box.lowX + box.highX) / 2, y: (box.lowY + box.highY) / 2,
            scale: Math.min(this.scaleFor(box, margin), maxScale) };
        if (matchMedia("(prefers-reduced-motion: reduce)").matches) {
            Object.assign(this, to);
            return;
        }
        this.flight = { from: { x: this.x, y: this.y, scale: this.scale }, to, begin: performance.now() };
    }
    jumpTo(box, margin) {
        this.flight = null;
        this.x = (box.lowX + box.highX) / 2;
        this.y = (box.lowY + box.highY) / 2;
        this.scale = this.scaleFor(box, margin);
    }
    // Moves on along the flight. Returns whether there is one still.
    advance(now) {
        if (!this.flight) {
            return false;
        }
        const { from, to, begin } = this.flight;
        const time = Math.min(1, (now - begin) / FLIGHT_MILLISECONDS);
        const part = time < 0.5 ? 4 * time ** 3 : 1 - (2 - 2 * time) ** 3 / 2;
        this.scale = from.scale * (to.scale / from.scale) ** part;
        // Far away the middle moves as the scale does, so that the goal stays in sight while it grows.
        const moved = Math.abs(to.scale - from.scale) < 1e-9 ? part
            : (1 / from.scale - 1 / this.scale) / (1 / from.scale - 1 / to.scale);
        this.x = from.x + (to.x - from.x) * moved;
        this.y = from.y + (to.y - from.y) * moved;
        if (time === 1) {
            this.flight = null;
        }
        return this.flight !== null;
    }
}
