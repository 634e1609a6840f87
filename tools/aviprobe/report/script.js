'use strict';
// Nothing here is needed to read the page: it shows the value under the pointer and zooms the time charts of a file.
(() => {
  const svgNames = 'http://www.w3.org/2000/svg';
  const plotUnits = 1000;
  const facts = JSON.parse(document.getElementById('facts').textContent);

  const pad = (number, digits = 2) => String(number).padStart(digits, '0');
  const clock = (ms) => {
    const all = Math.round(ms);
    return `${pad(Math.floor(all / 3600000))}:${pad(Math.floor(all / 60000) % 60)}:${pad(Math.floor(all / 1000) % 60)}` +
      `.${pad(all % 1000, 3)}`;
  };
  const shortClock = (ms, step) => {
    const text = clock(ms).replace(/^00:/, '').replace(/^0(?=\d)/, '');
    if (step >= 1000) return text.slice(0, -4);
    return step >= 100 ? text.slice(0, -2) : text.slice(0, -1);
  };
  const number = (value) => value.toLocaleString('en', {maximumFractionDigits: 2}).replaceAll(',', '\u202f');
  const timeSteps = [10, 20, 50, 100, 200, 500, 1000, 2000, 5000, 10000, 15000, 30000, 60000, 120000, 300000, 600000,
    900000, 1800000, 3600000, 7200000, 18000000, 36000000];

  class Chart {
    constructor(picture) {
      this.picture = picture;
      this.plot = picture.querySelector('.plot');
      this.axis = picture.querySelector('.axis');
      this.output = picture.closest('figure').querySelector('output');
      this.low = Number(picture.dataset.low);
      this.high = Number(picture.dataset.high);
      this.height = this.plot.height.baseVal.value;
      this.time = picture.dataset.axis === 'time';
      this.firstAxis = this.axis.innerHTML;
      const [file, name] = picture.dataset.series.split('/');
      this.series = facts.files[file].series[name];
      this.show(this.low, this.high);
    }

    show(from, to) {
      this.from = from;
      this.to = to;
      const scale = plotUnits / (this.high - this.low);
      this.plot.classList.toggle('zoomed', from !== this.low || to !== this.high);
      this.plot.setAttribute('viewBox', `${(from - this.low) * scale} 0 ${(to - from) * scale} ${this.height}`);
      if (from === this.low && to === this.high) this.axis.innerHTML = this.firstAxis;
      else this.drawAxis();
    }

    drawAxis() {
      const most = this.picture.clientWidth < 480 ? 4 : 8;
      const bottom = this.plot.y.baseVal.value + this.height;
      const step = timeSteps.find((each) => (this.to - this.from) / each <= most) || 72000000;
      this.axis.replaceChildren();
      for (let tick = Math.ceil(this.from / step) * step; tick <= this.to; tick += step) {
        const x = `${(tick - this.from) / (this.to - this.from) * 100}%`;
        this.draw(this.axis, 'line', {class: 'mark', x1: x, x2: x, y1: bottom, y2: bottom + 4});
        this.draw(this.axis, 'text', {class: 'tick mid', x, y: bottom + 18}).textContent = shortClock(tick, step);
      }
    }

    draw(parent, name, attributes) {
      const element = document.createElementNS(svgNames, name);
      for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
      parent.append(element);
      return element;
    }

    // Where the pointer is, 0 to 1 across the plot.
    share(event) {
      const box = this.picture.getBoundingClientRect();
      return Math.min(1, Math.max(0, (event.clientX - box.left) / box.width));
    }

    at(share) { return this.from + share * (this.to - this.from); }

    point(share) {
      const where = this.at(share);
      const x = (where - this.low) / (this.high - this.low) * plotUnits;
      this.cursor ||= this.draw(this.plot, 'path', {class: 'cursor'});
      this.cursor.setAttribute('d', `M${x} 0V${this.height}`);
      this.output.textContent = [this.time ? clock(where) : `byte ${Math.round(where)}`, ...this.values(where)].join('  ·  ');
    }

    values(where) {
      if (this.series.lines) {
        return this.series.lines.filter((line) => line.points.length).map((line) => {
          const unit = line.unit || this.series.unit;
          return `${line.name} ${number(this.nearest(line.points, where))}${unit ? ` ${unit}` : ''}`;
        });
      }
      if (where > this.series.size) return ['missing'];
      return (this.series.lanes || []).flatMap((lane) => {
        if (lane.shares) {
          const share = lane.shares[Math.min(lane.shares.length - 1, Math.floor(where / this.series.size * lane.shares.length))];
          return share ? [`${lane.name} ${share} %`] : [];
        }
        const inside = (spans) => spans.some(([from, to]) => from <= where && where <= to);
        return [`${lane.name} ${inside(lane.delivered) ? 'delivered' : inside(lane.gaps) ? 'gap' : 'nothing'}`];
      });
    }

    // Points are in order: the nearest one by halving.
    nearest(points, where) {
      let low = 0;
      let high = points.length - 1;
      while (high - low > 1) {
        const middle = (low + high) >> 1;
        if (points[middle][0] <= where) low = middle;
        else high = middle;
      }
      return points[Math.abs(points[low][0] - where) <= Math.abs(points[high][0] - where) ? low : high][1];
    }

    leave() {
      this.cursor?.remove();
      this.cursor = null;
      this.output.textContent = '';
    }

    shade(from, to) {
      this.box ||= this.draw(this.plot, 'rect', {class: 'drag', y: 0, height: this.height});
      const scale = plotUnits / (this.high - this.low);
      this.box.setAttribute('x', (Math.min(from, to) - this.low) * scale);
      this.box.setAttribute('width', Math.abs(to - from) * scale);
    }

    unshade() {
      this.box?.remove();
      this.box = null;
    }
  }

  const reset = document.querySelector('.reset');
  const all = [];
  for (const section of document.querySelectorAll('.file')) {
    section.classList.add('zooms');
    const charts = [...section.querySelectorAll('.picture')].map((picture) => new Chart(picture));
    all.push(...charts);
    for (const chart of charts) watch(chart, charts.filter((each) => each.time));
  }
  reset.addEventListener('click', unzoom);
  document.addEventListener('keydown', (event) => { if (event.key === 'Escape') unzoom(); });

  function unzoom() {
    for (const chart of all) chart.show(chart.low, chart.high);
    reset.hidden = true;
  }

  function watch(chart, timeCharts) {
    let began = null;
    const stop = () => {
      began = null;
      chart.unshade();
    };
    chart.picture.addEventListener('pointermove', (event) => {
      chart.point(chart.share(event));
      if (began !== null) chart.shade(began, chart.at(chart.share(event)));
    });
    chart.picture.addEventListener('pointerleave', () => chart.leave());
    if (!chart.time) return;
    chart.picture.addEventListener('pointerdown', (event) => {
      if (event.pointerType === 'touch' || event.button !== 0) return;
      event.preventDefault();
      chart.picture.setPointerCapture(event.pointerId);
      began = chart.at(chart.share(event));
    });
    chart.picture.addEventListener('pointercancel', stop);
    chart.picture.addEventListener('pointerup', (event) => {
      if (began === null) return;
      const ends = [began, chart.at(chart.share(event))].sort((a, b) => a - b);
      stop();
      if (ends[1] - ends[0] < Math.max(20, (chart.to - chart.from) / 100)) return;
      for (const each of timeCharts) each.show(Math.max(each.low, ends[0]), Math.min(each.high, ends[1]));
      reset.hidden = false;
    });
  }
})();
