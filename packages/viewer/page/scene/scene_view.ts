import { MOUSE, PerspectiveCamera, TOUCH, Vector3, WebGLRenderer } from 'three';
import { OrbitControls } from 'three/addons/controls/OrbitControls.js';
import { button, element, wantsStillness } from '../dom.js';
import type { Place } from '../finding.js';
import type { ViewedPart } from '../part.js';
import type { ThemeChoice } from '../theme.js';
import type { ViewModel } from '../view_state.js';
import { distanceThatShows } from './fitting.js';
import { PartScene } from './part_scene.js';

/** Directions from which the part may be seen, and their keys. */
const directions = [
  { name: 'Front left', key: '1', from: [-0.62, -1, 0.42] },
  { name: 'Front', key: '2', from: [0, -1, 0.08] },
  { name: 'Right', key: '3', from: [1, 0, 0.08] },
  { name: 'Back', key: '4', from: [0.5, 1, 0.35] },
  { name: 'Above', key: '5', from: [0, -0.02, 1] },
  { name: 'Below', key: '6', from: [-0.4, -0.55, -0.75] },
] as const;

type Toggle = 'isCut' | 'isTinted' | 'hasSupports';

const angleOfView = 26;
const flight = 320; // ms

/** The part in three dimensions: to be turned, cut open at the layer, its points to be chosen. */
export class SceneView {
  readonly panel: HTMLElement;
  private readonly canvas = element('canvas', {
    attributes: { role: 'img', tabindex: '0', 'aria-label': 'The part in three dimensions' },
  });
  private readonly frame = element('div', { class: 'canvas' }, this.canvas);
  private readonly views = element('select', {
    title: 'Look from (1 to 6)',
    attributes: { 'aria-label': 'Look from' },
  });
  private readonly scene: PartScene;
  private readonly camera = new PerspectiveCamera(angleOfView, 1, 1, 1000);
  private renderer: WebGLRenderer | null;
  private readonly controls: OrbitControls | null = null;
  private readonly toggles: [button: HTMLButtonElement, key: Toggle][];
  private isPlanned = false;
  private flying = 0;
  private isFlying = false;
  private isLoading = false;
  /** The layer whose slice lies on the cut; -1 for none. */
  private cutLayer = -1;
  private isFollowing = false;

  constructor(
    private readonly part: ViewedPart,
    private readonly model: ViewModel,
    private readonly theme: ThemeChoice,
  ) {
    this.scene = new PartScene(part);
    this.renderer = rendererOn(this.canvas);
    const toggle = (label: string, title: string, key: Toggle) => {
      const act = (): void => model.set({ [key]: !model.state[key] });
      const made = button(label, title, act, { pressed: model.state[key] });
      return [made, key] as [HTMLButtonElement, typeof key];
    };
    this.toggles = [
      toggle('Cut', 'Cut the part open at the layer (c)', 'isCut'),
      toggle('Overhang', 'Tint surfaces that lie flatter than the critical angle (o)', 'isTinted'),
      ...(part.document.scaffold === undefined
        ? []
        : [toggle('Supports', 'Show the supports as they are built (s)', 'hasSupports')]),
    ];
    this.views.addEventListener('change', () => this.lookFrom(this.views.value));
    this.views.append(
      ...directions.map(({ name, key }) =>
        element('option', { text: name, attributes: { value: key } }),
      ),
    );
    this.panel = element(
      'section',
      { class: 'panel scene', attributes: { 'aria-label': 'Part' } },
      element(
        'header',
        {},
        element('div', { class: 'panel-title' }, element('h2', { text: 'Part' }), this.caption()),
        element('div', { class: 'tools' }, ...this.toggles.map(([made]) => made), this.views),
      ),
      this.frame,
      this.legend(),
    );
    if (this.renderer === null) {
      this.sayInstead(
        'This browser draws no 3D here: WebGL is missing or turned off. The slices, the charts and ' +
          'the lists show the same part.',
      );
      return;
    }
    this.controls = this.makeControls();
    this.listen();
    void this.loadShapes();
  }

  /** Turns the camera so that this place, in mm of the model, is in the middle. */
  show(x: number, y: number, z: number): void {
    if (this.controls === null) return;
    const { min, max } = this.part;
    const target = new Vector3(
      x - (min[0] + max[0]) / 2,
      y - (min[1] + max[1]) / 2,
      z - this.part.plateZ,
    );
    const direction = this.camera.position.clone().sub(this.controls.target).normalize();
    // On a cut one looks down, under a whole part up.
    const least = this.model.state.isCut ? 0.45 : -0.35;
    if (this.model.state.isCut ? direction.z < least : direction.z > least) {
      direction.setZ(least).normalize();
    }
    const distance = Math.min(
      0.62 * this.fittingDistance(direction),
      this.camera.position.distanceTo(this.controls.target),
    );
    this.flyTo(target.clone().addScaledVector(direction, distance), target);
  }

  lookFrom(key: string): void {
    const found = directions.find((direction) => direction.key === key);
    if (found === undefined || this.controls === null) return;
    this.views.value = key;
    const target = new Vector3(0, 0, this.scene.frame.half.z);
    const direction = new Vector3(...found.from).normalize();
    this.flyTo(target.clone().addScaledVector(direction, this.fittingDistance(direction)), target);
  }

  /** Gives the graphics memory back; the view can't be used any more. */
  dispose(): void {
    this.controls?.dispose();
    this.renderer?.dispose();
    this.renderer?.forceContextLoss();
    this.renderer = null;
  }

  private sayInstead(text: string): void {
    this.canvas.remove();
    this.frame.append(element('p', { class: 'fallback', text }));
  }

  /** Says for others whether the picture is about to change by itself. */
  private tellBusy(): void {
    const isBusy = this.isLoading || this.isFollowing || this.isFlying || this.isPlanned;
    this.frame.setAttribute('aria-busy', String(isBusy));
  }

  private async loadShapes(): Promise<void> {
    const { scaffold } = this.part.document;
    this.isLoading = true;
    try {
      const steps = this.scene.takeMesh(await this.part.mesh());
      while (!steps.next().done) {
        // What came new is drawn before more comes.
        this.plan();
        await new Promise(requestAnimationFrame);
        if (this.renderer === null) return;
      }
      if (scaffold !== undefined) {
        this.scene.setScaffold(await this.part.scaffold(scaffold), scaffold);
      }
    } catch (error) {
      this.sayInstead(`The part can't be shown: ${(error as Error).message}.`);
    }
    this.isLoading = false;
    this.plan();
  }

  private makeControls(): OrbitControls {
    this.camera.up.set(0, 0, 1);
    const controls = new OrbitControls(this.camera, this.canvas);
    controls.mouseButtons = { LEFT: MOUSE.ROTATE, MIDDLE: MOUSE.DOLLY, RIGHT: MOUSE.PAN };
    controls.touches = { ONE: TOUCH.ROTATE, TWO: TOUCH.DOLLY_PAN };
    controls.zoomToCursor = true;
    const target = new Vector3(0, 0, this.scene.frame.half.z);
    controls.target.copy(target);
    const direction = new Vector3(...directions[0].from).normalize();
    this.camera.position.copy(target).addScaledVector(direction, this.fittingDistance(direction));
    controls.minDistance = 0.02 * this.scene.size.length();
    controls.maxDistance = 4 * this.distanceOfSphere();
    controls.update();
    controls.addEventListener('change', () => this.plan());
    return controls;
  }

  /** From where the part fills the picture, looked at from this direction. */
  private fittingDistance(direction: Vector3): number {
    const along = Math.tan((angleOfView * Math.PI) / 360);
    return distanceThatShows(this.scene.frame.half, direction, along * this.camera.aspect, along);
  }

  /** From where it stays in the picture, however it is turned. */
  private distanceOfSphere(): number {
    const half = Math.tan((angleOfView * Math.PI) / 360) * Math.min(1, this.camera.aspect);
    return this.scene.frame.half.length() / Math.sin(Math.atan(half));
  }

  private listen(): void {
    this.theme.listen(() => {
      this.applyPalette();
      this.cutLayer = -1;
      void this.followLayer();
    });
    this.applyPalette();
    new ResizeObserver(() => this.resize()).observe(this.frame);
    this.model.listen((state) => {
      for (const [made, key] of this.toggles) made.setAttribute('aria-pressed', String(state[key]));
      this.apply();
      void this.followLayer();
    });
    let start: [number, number] = [0, 0];
    this.canvas.addEventListener('pointerdown', ({ clientX, clientY }) => {
      start = [clientX, clientY];
      this.flying++;
      this.isFlying = false;
      this.tellBusy();
    });
    this.canvas.addEventListener('pointerup', ({ clientX, clientY }) => {
      if (Math.hypot(clientX - start[0], clientY - start[1]) < 5) this.choose(clientX, clientY);
    });
    this.canvas.addEventListener('keydown', (event) => this.turn(event));
    this.apply();
    void this.followLayer();
  }

  private applyPalette(): void {
    this.scene.setPalette(this.theme.palette);
    this.plan();
  }

  private apply(): void {
    const { point, place, isCut, isTinted, hasSupports } = this.model.state;
    const layer = this.cutLayer < 0 ? this.model.state.layer : this.cutLayer;
    this.scene.cut(isCut ? this.part.topOf(layer) : null);
    this.scene.setTinted(isTinted);
    this.scene.marks.showUpTo(isCut ? layer : this.part.layerCount);
    this.scene.showScaffold(hasSupports);
    this.scene.marks.ringAt(point === null ? this.sceneOf(place) : this.scene.marks.places[point]);
    this.plan();
  }

  /** Where a place of a finding is in the scene; null for a whole layer. */
  private sceneOf(place: Place | null): Vector3 | null {
    if (place?.column === undefined || place.row === undefined) return null;
    const { min, max } = this.part;
    const [x, y] = this.part.placeOf(place.column, place.row);
    return new Vector3(
      x - (min[0] + max[0]) / 2,
      y - (min[1] + max[1]) / 2,
      this.part.bottomOf(place.layer),
    );
  }

  /** Brings the cut to the layer, one picture after the other: each is shown whole, with its own cut. */
  private async followLayer(): Promise<void> {
    if (this.isFollowing) return;
    this.isFollowing = true;
    while (this.model.state.isCut && this.cutLayer !== this.model.state.layer) {
      const { layer } = this.model.state;
      const slice = await this.part.slice(layer).catch(() => null);
      // The slice beside it comes first.
      await new Promise(requestAnimationFrame);
      const islands = this.part.islandsOfLayer[this.part.keptLayer(layer)];
      if (slice !== null) this.scene.cutFace.paint(slice, islands, this.theme.palette);
      this.cutLayer = layer;
      this.apply();
    }
    this.isFollowing = false;
    this.tellBusy();
  }

  private resize(): void {
    const { clientWidth, clientHeight } = this.frame;
    if (this.renderer === null || clientWidth === 0 || clientHeight === 0) return;
    const offset = this.camera.position.clone().sub(this.controls?.target ?? new Vector3());
    const direction = offset.clone().normalize();
    const before = this.fittingDistance(direction);
    this.renderer.setPixelRatio(Math.min(2, devicePixelRatio));
    this.renderer.setSize(clientWidth, clientHeight, false);
    this.camera.aspect = clientWidth / clientHeight;
    if (this.controls !== null) {
      const share = this.fittingDistance(direction) / before;
      this.camera.position.copy(this.controls.target).addScaledVector(offset, share);
    }
    this.plan();
  }

  private plan(): void {
    if (this.isPlanned || this.renderer === null) return;
    this.isPlanned = true;
    this.tellBusy();
    requestAnimationFrame(() => {
      this.isPlanned = false;
      this.draw();
      this.tellBusy();
    });
  }

  private draw(): void {
    const { camera, scene } = this;
    const distance = camera.position.distanceTo(this.controls?.target ?? new Vector3());
    const reach = 2 * this.scene.size.length();
    camera.near = Math.max(distance - reach, 0.002 * reach);
    camera.far = distance + reach;
    camera.updateProjectionMatrix();
    camera.updateMatrixWorld();
    const axis = (column: number): Vector3 =>
      new Vector3().setFromMatrixColumn(camera.matrixWorld, column);
    scene.lightFrom(axis(2), axis(0), axis(1));
    scene.marks.face(camera.position);
    scene.plate.visible = camera.position.z > 0;
    this.renderer?.render(scene.scene, camera);
  }

  private flyTo(position: Vector3, target: Vector3): void {
    const { controls, camera } = this;
    if (controls === null) return;
    const from = camera.position.clone();
    const fromTarget = controls.target.clone();
    const flightNumber = ++this.flying;
    const started = performance.now();
    const still = wantsStillness();
    this.isFlying = true;
    const step = (): void => {
      if (flightNumber !== this.flying) return;
      const share = still ? 1 : Math.min(1, (performance.now() - started) / flight);
      const eased = 1 - (1 - share) ** 3;
      camera.position.lerpVectors(from, position, eased);
      controls.target.lerpVectors(fromTarget, target, eased);
      controls.update();
      this.isFlying = share < 1;
      this.plan();
      if (this.isFlying) requestAnimationFrame(step);
    };
    step();
  }

  /** The point that is seen nearest to a place of the window, if it is near. */
  private choose(clientX: number, clientY: number): void {
    const box = this.canvas.getBoundingClientRect();
    const { layer, isCut } = this.model.state;
    let nearest: number | null = null;
    let least = Number.POSITIVE_INFINITY;
    this.scene.marks.places.forEach((place, index) => {
      if (isCut && this.part.points[index].layer > layer) return;
      const seen = place.clone().project(this.camera);
      const x = box.left + ((seen.x + 1) / 2) * box.width;
      const y = box.top + ((1 - seen.y) / 2) * box.height;
      const away = Math.hypot(x - clientX, y - clientY);
      // Of points that are about as near, the one in front.
      if (away < 14 && away + 40 * seen.z < least) {
        least = away + 40 * seen.z;
        nearest = index;
      }
    });
    this.model.set({ point: nearest, finding: null, place: null });
  }

  private turn(event: KeyboardEvent): void {
    if (this.controls === null || event.altKey || event.ctrlKey || event.metaKey) return;
    const step = Math.PI / 18;
    const turns: Record<string, [number, number]> = {
      ArrowLeft: [-step, 0],
      ArrowRight: [step, 0],
      ArrowUp: [0, -step],
      ArrowDown: [0, step],
    };
    const [around, over] = turns[event.key] ?? [0, 0];
    if (around === 0 && over === 0) return;
    event.preventDefault();
    event.stopPropagation();
    const offset = this.camera.position.clone().sub(this.controls.target);
    const radius = offset.length();
    const azimuth = Math.atan2(offset.y, offset.x) + around;
    const polar = Math.min(Math.PI - 0.05, Math.max(0.05, Math.acos(offset.z / radius) + over));
    offset.set(
      radius * Math.sin(polar) * Math.cos(azimuth),
      radius * Math.sin(polar) * Math.sin(azimuth),
      radius * Math.cos(polar),
    );
    this.flyTo(this.controls.target.clone().add(offset), this.controls.target.clone());
  }

  private caption(): HTMLElement {
    const size = this.scene.size
      .toArray()
      .map((length) => length.toFixed(1))
      .join(' × ');
    // Cut where the panel is narrow.
    return element('p', { class: 'caption', text: `${size} mm`, title: `${size} mm` });
  }

  private legend(): HTMLElement {
    const entry = (swatch: string, text: string): HTMLElement =>
      element('li', {}, element('i', { class: `swatch ${swatch}` }), text);
    return element(
      'ul',
      { class: 'legend' },
      entry('mark-island', 'point under an island'),
      entry('mark-overhang', 'point under an overhang'),
      this.part.hasAddedPoints && entry('mark-added', 'point that was added'),
      this.part.document.scaffold !== undefined && entry('support', 'support as it is built'),
      entry('tint', 'surface that overhangs'),
    );
  }
}

/** Null where the browser has no WebGL. */
function rendererOn(canvas: HTMLCanvasElement): WebGLRenderer | null {
  try {
    const renderer = new WebGLRenderer({ canvas, antialias: true, alpha: true });
    renderer.localClippingEnabled = true;
    return renderer;
  } catch {
    return null;
  }
}
